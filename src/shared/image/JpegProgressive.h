#pragma once

#include "shared/image/JpegHuffman.h"

#include <array>
#include <cstdint>

/// The scans of a progressive JPEG picture: each brings some coefficients of the blocks, and these bit by
/// bit.
namespace JpegProgressive {

/// What a scan brings.
struct Range
{
    int first;    ///< coefficient in zigzag order; 0 is the mean, which comes alone
    int last;     ///< the same
    int previous; ///< the lowest bit that earlier scans have brought; 0: they have brought none
    int lowest;   ///< the lowest bit that this scan brings

    [[nodiscard]] bool refines() const { return previous > 0; }
};

/// Which bits of a component's coefficients have come.
class Progress
{
public:
    Progress() { lowest.fill(none); }

    /// False if that does not go on where the earlier scans have ended.
    [[nodiscard]] bool take(const Range &range);

    /// True if nothing is missing of the first ten coefficients. Else decoders guess them from other blocks.
    [[nodiscard]] bool isComplete() const;

private:
    static constexpr int none = 16;
    std::array<int, 64> lowest; ///< bit of each coefficient
};

/// Reads a scan of coefficients other than the mean, block by block.
class BlockReader
{
public:
    BlockReader(const Range &range, const JpegHuffman::Table &table)
        : range(range)
        , table(table)
    {
    }

    /// Adds what the scan says of the next block, in zigzag order. False if the data is broken.
    [[nodiscard]] bool read(JpegHuffman::BitReader &bits, int16_t *block)
    {
        return range.refines() ? refine(bits, block) : readFirst(bits, block);
    }

    /// To be called behind a restart marker.
    void restart() { blocksEnded = 0; }

private:
    bool readFirst(JpegHuffman::BitReader &bits, int16_t *block);
    bool refine(JpegHuffman::BitReader &bits, int16_t *block);
    int refineUntilZero(JpegHuffman::BitReader &bits, int16_t *block, int index, int zeros) const;
    void endBlocks(JpegHuffman::BitReader &bits, int size);

    const Range range;
    const JpegHuffman::Table &table;
    int blocksEnded = 0; ///< that get no new coefficient any more, from this one on
};

} // namespace JpegProgressive
