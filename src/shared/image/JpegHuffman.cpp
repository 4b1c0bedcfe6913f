#include "shared/image/JpegHuffman.h"

#include <algorithm>

namespace JpegHuffman {

BitReader BitReader::refilledByByte(BitReader reader)
{
    while (reader.available < 56) {
        uint64_t byte = 0;
        if (reader.at < reader.end && *reader.at != 0xff) {
            byte = *reader.at++;
        } else if (reader.end - reader.at >= 2 && reader.at[1] == 0) {
            byte = 0xff;
            reader.at += 2;
        } else {
            reader.padding += 8;
        }
        reader.window |= byte << (56 - reader.available);
        reader.available += 8;
    }
    return reader;
}

std::optional<Bytes> BitReader::rest() const
{
    const BitReader full = refilledByByte(*this);
    const int left = full.available - full.padding;
    if (left < 0 || left > 7)
        return {};
    return Bytes(full.at, full.end);
}

std::optional<Table> Table::parsed(Bytes counts, Bytes symbols, Kind kind)
{
    const auto isMeant = [kind](uint8_t symbol) {
        const int size = symbol & 15;
        if (kind == Kind::Means)
            return symbol <= 11;
        return size <= 10 && (size > 0 || symbol == 0 || symbol == 0xf0 || kind == Kind::CoefficientsOfScans);
    };
    Table table;
    if (symbols.size() > table.symbols.size() || !std::all_of(symbols.begin(), symbols.end(), isMeant))
        return {};
    std::copy(symbols.begin(), symbols.end(), table.symbols.begin());
    uint32_t code = 0;
    int symbol = 0;
    for (int length = 1; length <= 16; ++length) {
        table.firstSymbol[length] = symbol - static_cast<int>(code);
        for (int i = 0; i < counts[length - 1]; ++i, ++code, ++symbol) {
            if (code >= 1U << length)
                return {};
            if (const int spare = lookupBits - length; spare >= 0)
                std::fill_n(table.codes.begin() + (code << spare), 1 << spare,
                            Code{table.symbols[symbol], static_cast<uint8_t>(length)});
        }
        table.ends[length] = code << (16 - length);
        code <<= 1;
    }
    if (kind == Kind::Coefficients)
        table.makeSteps();
    return table;
}

void Table::makeSteps()
{
    for (uint32_t bits = 0; bits < steps.size(); ++bits) {
        int length = 0;
        int advance = 0;
        while (length < lookupBits && advance < endOfBlock) {
            const Code code = codes[(bits << length) & (steps.size() - 1)];
            const bool isWhole = code.length > 0 && length + code.length <= lookupBits;
            // 63 at most, or it could be taken for the end of the block.
            if (!isWhole || (code.symbol != 0 && advance + code.advance() > 63))
                break;
            length += code.length + code.size();
            advance += code.advance();
        }
        steps[bits] = static_cast<uint16_t>((length ? advance : noStep) << lengthBits | length);
    }
}

Table::Code Table::nextLong(uint32_t bits) const
{
    for (int length = lookupBits + 1; length <= 16; ++length)
        if (bits < ends[length])
            return {symbols[firstSymbol[length] + static_cast<int>(bits >> (16 - length))],
                    static_cast<uint8_t>(length)};
    return {};
}

} // namespace JpegHuffman
