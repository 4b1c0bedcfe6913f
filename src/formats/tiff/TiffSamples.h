#pragma once

#include "formats/tiff/TiffTags.h"

#include <QFloat16>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <tiffio.h>

namespace Tiff {

constexpr uint16_t unknownPhotometric = 0xffff;

/// How a file stores its samples, and what they are in 16 bits.
class Samples
{
public:
    explicit Samples(TIFF *file)
        : bits(tag<uint16_t>(file, TIFFTAG_BITSPERSAMPLE))
        , format(tag<uint16_t>(file, TIFFTAG_SAMPLEFORMAT))
        , photometric(tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC, unknownPhotometric))
    {
    }

    static constexpr size_t spareBytes = 2; ///< behind the last sample, which is read by three bytes

    bool isFloating() const { return format == SAMPLEFORMAT_IEEEFP; }
    bool isLab() const { return photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB; }

    /// True if they can be read one by one. The sign of whole numbers is passed over, but for Lab's.
    bool isKnown() const
    {
        if (isFloating())
            return bits == 16 || bits == 32 || bits == 64;
        return bits == 8 || bits == 16 || bits == 32
               || (format == SAMPLEFORMAT_UINT && bits > 8 && bits < 16 && !isLab());
    }

    /// True if samples of 16 bits are taken as they are, by `plainAt`.
    bool isPlain() const { return bits == 16 && !isFloating() && !isLab(); }
    static uint16_t plainAt(const uchar *row, qsizetype index) { return numberAt<uint16_t>(row, index); }

    /// One sample of a channel of the colour, brought to 16 bits out of the range that was measured. Those of
    /// Lab go from 0 to 100 and from -128 to 127.
    uint16_t colourAt(const uchar *row, qsizetype index, int channel) const
    {
        if (isLab())
            return labAt(row, index, channel);
        return isFloating() ? of((floatAt(row, index) - lowest) / (highest - lowest)) : wholeAt(row, index);
    }

    /// The same of alpha, which has no range of its own.
    uint16_t alphaAt(const uchar *row, qsizetype index) const
    {
        return isFloating() ? of(floatAt(row, index)) : wholeAt(row, index);
    }

    /// Widens the range of floats, which is from 0 to 1 unless a number is beyond. The largest floats of all
    /// mark places that were not measured.
    void measure(const uchar *row, int count, int stride)
    {
        constexpr double noMeasurement = 1e30;
        for (int i = 0; i < count; ++i) {
            const double value = floatAt(row, static_cast<qsizetype>(i) * stride);
            if (std::abs(value) < noMeasurement) {
                lowest = std::min(lowest, value);
                highest = std::max(highest, value);
            }
        }
    }

    const int bits;
    const uint16_t format;
    const uint16_t photometric;

private:
    /// A number that stands in a row in the machine's own order, as libtiff leaves it.
    template <typename Number>
    static Number numberAt(const uchar *row, qsizetype index)
    {
        Number number;
        std::memcpy(&number, row + index * static_cast<qsizetype>(sizeof number), sizeof number);
        return number;
    }

    static uint16_t of(double share) // 0 for no number
    {
        return share > 0 ? static_cast<uint16_t>(std::min(share, 1.0) * 65535 + 0.5) : 0;
    }

    double floatAt(const uchar *row, qsizetype index) const
    {
        return bits == 16   ? static_cast<double>(float(numberAt<qfloat16>(row, index)))
               : bits == 32 ? static_cast<double>(numberAt<float>(row, index))
                            : numberAt<double>(row, index);
    }

    uint16_t wholeAt(const uchar *row, qsizetype index) const
    {
        if (bits == 16)
            return numberAt<uint16_t>(row, index);
        if (bits == 32)
            return static_cast<uint16_t>(numberAt<uint32_t>(row, index) >> 16);
        if (bits == 8)
            return static_cast<uint16_t>(row[index] * 257);
        const uchar *const from = row + index * bits / 8; // packed, the highest bit first
        const uint32_t three = from[0] << 16 | from[1] << 8 | from[2];
        const uint32_t value = three >> (24 - bits - index * bits % 8) & ((1U << bits) - 1);
        return static_cast<uint16_t>(value << (16 - bits) | value >> (2 * bits - 16));
    }

    uint16_t labAt(const uchar *row, qsizetype index, int channel) const
    {
        if (isFloating())
            return of(channel == 0 ? floatAt(row, index) / 100 : (floatAt(row, index) + 128) / 255);
        const uint16_t whole = wholeAt(row, index);
        const bool isIcc = photometric == PHOTOMETRIC_ICCLAB;
        if (channel == 0) // where 16 bits hold 100 as 0xff00
            return isIcc && bits > 8 ? of(whole / 65280.0) : whole;
        const double shifted = isIcc ? whole : whole ^ (bits == 8 ? 0x8080 : 0x8000);
        return bits == 8 ? uint16_t(shifted) : of(shifted / 65280); // 256 of each to a unit
    }

    double lowest = 0;
    double highest = 1;
};

} // namespace Tiff
