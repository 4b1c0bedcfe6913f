#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <vector>

/// Makes rows of pixels into what PNG files pack: the numbers that are left beside neighbours, by the one of
/// five filters that leaves the smallest, as libpng chooses it.
class PngFilter
{
public:
    /// @param pixelBytes of each pixel, of 8 bits a channel
    PngFilter(size_t rowBytes, size_t pixelBytes, bool isOnlyRow);

    /// The number of the filter and what it makes of the next row, until the next call.
    [[nodiscard]] const std::vector<uchar> &filtered(const uchar *row);

private:
    static constexpr size_t count = 5;

    size_t pixelBytes;
    bool hasLeft;               ///< in a picture of one column nothing does
    bool hasAbove;              ///< in a picture of one row nothing does
    std::vector<uchar> current; ///< behind a pixel of zeros, as is the one above
    std::vector<uchar> above;
    std::array<std::vector<uchar>, count> results; ///< each behind the number of its filter
};
