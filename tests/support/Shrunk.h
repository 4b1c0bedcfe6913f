#pragma once

#include <QColorSpace>
#include <QImage>

#include <algorithm>

/// What pictures that were made smaller as they were decoded have to be, for the tests and the fuzzers.
namespace Shrunk {

/// How many of `count` parts of a side a pixel covers of the one at `at` of `full`.
inline qint64 overlap(qint64 pixel, qint64 count, qint64 at, qint64 full)
{
    return std::min((pixel + 1) * full, (at + 1) * count) - std::max(pixel * full, at * count);
}

/// True if each sample is the mean of what it covers in the full picture, or from `least` to `most` below it.
template <typename Sample>
bool isMean(const QImage &shrunk, const QImage &full, double least, double most)
{
    const int channels = full.depth() / (8 * int(sizeof(Sample)));
    for (int y = 0; y < shrunk.height(); ++y) {
        for (int i = 0; i < shrunk.width() * channels; ++i) {
            const int x = i / channels;
            double sum = 0;
            for (int row = int(qint64(y) * full.height() / shrunk.height()); row < full.height(); ++row) {
                const qint64 high = overlap(y, shrunk.height(), row, full.height());
                for (int at = int(qint64(x) * full.width() / shrunk.width()); at < full.width() && high > 0;
                     ++at) {
                    const qint64 wide = overlap(x, shrunk.width(), at, full.width());
                    if (wide <= 0)
                        break;
                    sum += double(high * wide)
                           * reinterpret_cast<const Sample *>(
                               full.constScanLine(row))[at * channels + i % channels];
                }
                if (high <= 0)
                    break;
            }
            const double below = sum / full.width() / full.height()
                                 - reinterpret_cast<const Sample *>(shrunk.constScanLine(y))[i];
            if (below < least - 1e-6 || below >= most)
                return false;
        }
    }
    return true;
}

/// True if a picture is made of the means of a full one, rounded down twice, in its format.
/// @param apart how much the samples of both may differ before, of 255
inline bool isOf(const QImage &full, const QImage &shrunk, double apart = 0)
{
    if (shrunk.isNull() || shrunk.format() != full.format() || shrunk.colorSpace() != full.colorSpace())
        return false;
    const bool isDeep = full.depth() > 32 || full.format() == QImage::Format_Grayscale16;
    return isDeep ? isMean<quint16>(shrunk, full, -257 * apart, 2 + 257 * apart)
                  : isMean<uchar>(shrunk, full, -apart, 2 + apart);
}

} // namespace Shrunk
