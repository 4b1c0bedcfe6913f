#include "shared/image/PngFilter.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// Fills in what a filter leaves of a row, and gives the sum of it, of numbers with a sign.
template <typename Predict>
quint64 applied(std::vector<uchar> &result, const uchar *row, const uchar *above, size_t pixelBytes,
                const Predict &predicted)
{
    quint64 sum = 0;
    const uchar *const left = row - pixelBytes;
    const uchar *const aboveLeft = above - pixelBytes;
    uchar *const out = result.data() + 1;
    const size_t bytes = result.size() - 1;
    for (size_t i = 0; i < bytes; ++i)
        out[i] = static_cast<uchar>(row[i] - predicted(left[i], above[i], aboveLeft[i]));
    for (size_t begin = 0; begin < bytes;) { // sums that fit into 16 bits
        const size_t end = std::min<size_t>(bytes, begin + 256);
        quint16 part = 0;
        for (; begin < end; ++begin)
            part = static_cast<quint16>(part + std::min<int>(out[begin], 256 - out[begin]));
        sum += part;
    }
    return sum;
}

/// The neighbour that is next to left + above - aboveLeft.
int nearest(int left, int above, int aboveLeft)
{
    const int toLeft = std::abs(above - aboveLeft);
    const int toAbove = std::abs(left - aboveLeft);
    const int toAboveLeft = std::abs(left + above - 2 * aboveLeft);
    const int other = toAbove <= toAboveLeft ? above : aboveLeft;
    return toLeft <= toAbove && toLeft <= toAboveLeft ? left : other;
}

} // namespace

PngFilter::PngFilter(size_t rowBytes, size_t pixelBytes, bool isOnlyRow)
    : pixelBytes(pixelBytes)
    , hasLeft(rowBytes > pixelBytes)
    , hasAbove(!isOnlyRow)
    , current(pixelBytes + rowBytes)
    , above(pixelBytes + rowBytes)
{
    for (size_t i = 0; i < count; ++i) {
        results[i].resize(1 + rowBytes);
        results[i][0] = static_cast<uchar>(i);
    }
}

const std::vector<uchar> &PngFilter::filtered(const uchar *row)
{
    std::swap(current, above);
    std::copy_n(row, current.size() - pixelBytes, current.begin() + static_cast<qsizetype>(pixelBytes));
    size_t best = 0;
    quint64 least = 0;
    const auto attempt = [&, this](size_t number, const auto &predicted) {
        const quint64 sum = applied(results[number], current.data() + pixelBytes, above.data() + pixelBytes,
                                    pixelBytes, predicted);
        if (number == 0 || sum < least) {
            best = number;
            least = sum;
        }
    };
    attempt(0, [](int, int, int) { return 0; });
    if (hasLeft)
        attempt(1, [](int left, int, int) { return left; });
    if (hasAbove)
        attempt(2, [](int, int above, int) { return above; });
    if (hasLeft && hasAbove) {
        attempt(3, [](int left, int above, int) { return (left + above) / 2; });
        attempt(4, nearest);
    }
    return results[best];
}
