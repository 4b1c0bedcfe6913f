#include "viewer/PictureTurning.h"

#include "shared/image/ImageMetadata.h"
#include "shared/image/ParallelRows.h"

#include <algorithm>

namespace {

// Pixels a side: the source's and the target's part of a tile are in the cache together.
constexpr int tile = 32;

/// A picture of the given size whose pixel (x, y) is that of the source at `first + x * across + y * down`,
/// counted in pixels, row after row.
QImage rearranged(const QImage &source, QSize size, qptrdiff first, qptrdiff across, qptrdiff down)
{
    QImage target(size, source.format());
    if (target.isNull())
        return target;
    copyMetadata(source, target);
    uchar *const bits = target.bits();
    const qptrdiff stride = target.bytesPerLine();
    const quint32 *const from = reinterpret_cast<const quint32 *>(source.constBits()) + first;
    parallelRows(size, [=](int firstRow, int lastRow) {
        for (int top = firstRow; top < lastRow; top += tile) {
            for (int left = 0; left < size.width(); left += tile) {
                const int right = std::min(left + tile, size.width());
                for (int y = top; y < std::min(top + tile, lastRow); ++y) {
                    quint32 *const row = reinterpret_cast<quint32 *>(bits + y * stride);
                    for (int x = left; x < right; ++x)
                        row[x] = from[x * across + y * down];
                }
            }
        }
    });
    return target;
}

QImage of32Bits(const QImage &image)
{
    return image.depth() == 32 ? image : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

QImage PictureTurning::rotated(const QImage &image, bool clockwise)
{
    const QImage source = of32Bits(image);
    const qptrdiff stride = source.bytesPerLine() / 4;
    const QSize size = source.size().transposed();
    return clockwise ? rearranged(source, size, (source.height() - 1) * stride, -stride, 1)
                     : rearranged(source, size, source.width() - 1, stride, -1);
}

QImage PictureTurning::mirrored(const QImage &image, Qt::Orientation direction)
{
    const QImage source = of32Bits(image);
    const qptrdiff stride = source.bytesPerLine() / 4;
    return direction == Qt::Horizontal
               ? rearranged(source, source.size(), source.width() - 1, -1, stride)
               : rearranged(source, source.size(), (source.height() - 1) * stride, 1, -stride);
}
