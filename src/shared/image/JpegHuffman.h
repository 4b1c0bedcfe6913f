#pragma once

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// The entropy coding of JPEG, as far as the mean of each block needs it.
namespace JpegHuffman {

using Bytes = std::span<const uint8_t>;
using FirstCoefficients = std::array<int, 10>; ///< of a block in zigzag order

/// Bits of a scan, the next one uppermost. Behind the end of the scan come zeros.
class BitReader
{
public:
    explicit BitReader(Bytes scan)
        : at(scan.data())
        , end(scan.data() + scan.size())
    {
    }

    /// At least 56 bits can be taken afterwards.
    Q_ALWAYS_INLINE void refill()
    {
        if (end - at >= 8) {
            const auto next = qFromBigEndian<uint64_t>(at);
            // No byte is 0xff, which would begin a marker or a stuffed byte.
            if (constexpr uint64_t ones = 0x0101010101010101; !((~next - ones) & next & (ones << 7))) {
                // What is taken of the last byte beyond `available` is the same when that byte comes.
                window |= next >> available;
                at += (63 - available) >> 3;
                available |= 56;
                return;
            }
        }
        *this = refilledByByte(*this);
    }

    /// The next 1 to 16 bits, which stay.
    [[nodiscard]] uint32_t peek(int count) const { return static_cast<uint32_t>(window >> (64 - count)); }

    void skip(int count)
    {
        window <<= count;
        available -= count;
    }

    /// True if more has been taken than the scan holds.
    [[nodiscard]] bool isExhausted() const { return padding > available; }

    /// The bytes from the next marker on, if nothing but filling bits is left before it.
    [[nodiscard]] std::optional<Bytes> rest() const;

private:
    // By value, so that the state of the fast path can stay in registers.
    [[nodiscard]] static BitReader refilledByByte(BitReader reader);

    uint64_t window = 0;
    int available = 0; ///< bits
    int padding = 0;   ///< bits of `available` and before that are not from the scan
    const uint8_t *at;
    const uint8_t *end;
};

// Bits that a table is indexed with: few codes are longer, and two tables fit into the first-level cache.
constexpr int lookupBits = 12;

/// One table of codes.
class Table
{
public:
    /// What the codes stand for: differences of means, or what else a block has.
    enum class Kind
    {
        Means,
        Coefficients,
        CoefficientsOfScans ///< in a progressive picture
    };

    /// From a DHT segment behind the table's number: how many codes there are of each length, and their
    /// symbols. Null unless all symbols mean something in a picture of 8 bits.
    [[nodiscard]] static std::optional<Table> parsed(Bytes counts, Bytes symbols, Kind kind);

    /// The next symbol, or nothing if the data is broken. Takes up to 16 bits.
    [[nodiscard]] std::optional<int> readSymbol(BitReader &reader) const
    {
        const Code code = next(reader);
        reader.skip(code.length);
        return code.length > 0 ? std::optional<int>(code.symbol) : std::nullopt;
    }

    /// The coefficient of so many bits that follows its symbol.
    [[nodiscard]] static int coefficient(BitReader &reader, int size)
    {
        // One bit more than there are, as a shift by the whole width is undefined.
        const int value = static_cast<int>(reader.peek(size + 1) >> 1);
        reader.skip(size);
        const bool isNegative = size > 0 && value >> (size - 1) == 0;
        return isNegative ? value - (1 << size) + 1 : value;
    }

    /// The difference of the mean from that of the last block, quantised, or nothing if the data is broken.
    /// Takes up to 27 bits.
    Q_ALWAYS_INLINE std::optional<int> readDc(BitReader &reader) const
    {
        const Code code = next(reader);
        if (code.length == 0)
            return {};
        reader.skip(code.length);
        return coefficient(reader, code.symbol);
    }

    /// The first coefficients of a block behind the mean, in zigzag order from index 1 on, and passes over
    /// the others. Nothing if the data is broken.
    Q_NEVER_INLINE std::optional<FirstCoefficients> readAc(BitReader &reader) const
    {
        FirstCoefficients first{};
        size_t index = 1;
        while (index < first.size()) {
            reader.refill();
            const Code code = next(reader);
            if (code.length == 0)
                return {};
            reader.skip(code.length);
            if (code.symbol == 0)
                return first;
            index += code.advance();
            const int value = coefficient(reader, code.size());
            if (index <= first.size())
                first[index - 1] = value;
        }
        return skipAc(reader, static_cast<int>(index)) ? std::optional(first) : std::nullopt;
    }

    /// Passes over the coefficients of a block from `index` on. False if the data is broken. `reader` has 24
    /// bits or more to begin with.
    Q_ALWAYS_INLINE bool skipAc(BitReader &reader, int index = 1) const
    {
        for (int most = 1;; most = 2) { // steps that one refill is enough for
            for (int time = 0; time < most; ++time) {
                const int step = steps[reader.peek(lookupBits)];
                const int after = index + (step >> lengthBits);
                if (after > 63) [[unlikely]] {
                    if (after == 64 || (after > endOfBlock && after < endOfBlock + 64)) {
                        reader.skip(step & lengthMask);
                        return true;
                    }
                    reader.refill();
                    const Code code = next(reader);
                    if (code.length == 0)
                        return false;
                    reader.skip(code.length + code.size());
                    index += code.advance();
                    if (index >= 64)
                        return index == 64 || index > endOfBlock;
                    break;
                }
                reader.skip(step & lengthMask);
                index = after;
            }
            reader.refill();
        }
    }

private:
    struct Code
    {
        uint8_t symbol = 0;
        uint8_t length = 0; ///< bits; 0: there is no such code

        int size() const { return symbol & 15; } ///< bits of the coefficient that follow
        int advance() const { return symbol == 0 ? endOfBlock : (symbol >> 4) + 1; }
    };

    [[nodiscard]] Code next(const BitReader &reader) const
    {
        const Code code = codes[reader.peek(lookupBits)];
        return code.length ? code : nextLong(reader.peek(16));
    }
    [[nodiscard]] Code nextLong(uint32_t bits) const;
    void makeSteps();

    // A step is the sum of all codes that begin and end in the bits looked at, with their coefficients: the
    // bits that they take, and above those the coefficients that they stand for.
    static constexpr int lengthBits = 5;
    static constexpr int lengthMask = (1 << lengthBits) - 1;
    static constexpr int endOfBlock = 256;
    static constexpr int noStep = 1024; ///< not in 1 to 64, with or without `endOfBlock`

    std::array<uint16_t, 1 << lookupBits> steps{};
    std::array<Code, 1 << lookupBits> codes{};
    std::array<uint32_t, 17> ends{};   ///< the first 16 bits behind the codes of each length
    std::array<int, 17> firstSymbol{}; ///< minus the first code, for each length
    std::array<uint8_t, 256> symbols{};
};

} // namespace JpegHuffman
