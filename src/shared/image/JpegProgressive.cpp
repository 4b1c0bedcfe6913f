#include "shared/image/JpegProgressive.h"

#include <algorithm>

using JpegHuffman::BitReader;
using JpegHuffman::Table;

namespace JpegProgressive {

bool Progress::take(const Range &range)
{
    const bool isMean = range.first == 0 && range.last == 0;
    const bool isDetail = range.first > 0 && range.first <= range.last && range.last < 64;
    const bool goesOn = range.refines() ? range.lowest == range.previous - 1 : range.lowest <= 13;
    if (!goesOn || !(isMean || (isDetail && lowest[0] != none)))
        return false;
    const auto begin = lowest.begin() + range.first;
    const auto end = lowest.begin() + range.last + 1;
    const int before = range.refines() ? range.previous : none;
    if (std::any_of(begin, end, [before](int bit) { return bit != before; }))
        return false;
    std::fill(begin, end, range.lowest);
    return true;
}

bool Progress::isComplete() const
{
    return std::all_of(lowest.begin(), lowest.begin() + 10, [](int bit) { return bit == 0; });
}

/// A symbol without a coefficient says how many blocks end here.
void BlockReader::endBlocks(BitReader &bits, int size)
{
    blocksEnded = (1 << size) + static_cast<int>(bits.peek(size + 1) >> 1);
    bits.skip(size);
}

bool BlockReader::readFirst(BitReader &bits, int16_t *block)
{
    for (int index = range.first; index <= range.last && blocksEnded == 0; ++index) {
        bits.refill();
        const std::optional<int> symbol = table.readSymbol(bits);
        if (!symbol)
            return false;
        const int zeros = *symbol >> 4;
        const int size = *symbol & 15;
        if (size == 0 && zeros < 15) {
            endBlocks(bits, zeros);
            break;
        }
        index += zeros;
        if (index > range.last)
            return false;
        block[index] = static_cast<int16_t>(Table::coefficient(bits, size) * (1 << range.lowest));
    }
    blocksEnded = std::max(blocksEnded - 1, 0);
    return true;
}

/// Takes a bit more for each coefficient that there is, and goes over so many that are zero still; gives the
/// place of the next such one, or one behind the last.
int BlockReader::refineUntilZero(BitReader &bits, int16_t *block, int index, int zeros) const
{
    for (; index <= range.last; ++index) {
        int16_t &coefficient = block[index];
        if (coefficient == 0) {
            if (zeros-- == 0)
                break;
            continue;
        }
        bits.refill();
        if (bits.peek(1) != 0)
            coefficient =
                static_cast<int16_t>(coefficient + (coefficient < 0 ? -1 : 1) * (1 << range.lowest));
        bits.skip(1);
    }
    return index;
}

bool BlockReader::refine(BitReader &bits, int16_t *block)
{
    int index = range.first;
    while (index <= range.last && blocksEnded == 0) {
        bits.refill();
        const std::optional<int> symbol = table.readSymbol(bits);
        if (!symbol || (*symbol & 15) > 1)
            return false;
        const int zeros = *symbol >> 4;
        if ((*symbol & 15) == 0 && zeros < 15) {
            endBlocks(bits, zeros);
            break;
        }
        int added = 0;
        if ((*symbol & 15) == 1) {
            added = (bits.peek(1) != 0 ? 1 : -1) * (1 << range.lowest);
            bits.skip(1);
        }
        index = refineUntilZero(bits, block, index, zeros);
        if (index > range.last)
            return false;
        block[index++] = static_cast<int16_t>(added);
    }
    if (blocksEnded > 0) {
        refineUntilZero(bits, block, index, 64);
        --blocksEnded;
    }
    return true;
}

} // namespace JpegProgressive
