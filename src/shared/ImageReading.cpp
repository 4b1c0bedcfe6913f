#include "shared/ImageReading.h"

#include "shared/DecodeGuard.h"
#include "shared/ExifOrientation.h"
#include "shared/Platform.h"

#include <QColorSpace>
#include <QFileInfo>
#include <QImageReader>
#include <QTransform>

#include <algorithm>

namespace {

constexpr qint64 megabyte = 1024 * 1024;

/// The orientation that is still to be applied after `reader` has read: none where its plug-in does so.
QImageIOHandler::Transformations ignoredOrientation(const QImageReader &reader, const QString &path)
{
    if (reader.supportsOption(QImageIOHandler::ImageTransformation))
        return QImageIOHandler::TransformationNone;
    const QByteArray format = reader.format();
    if (format != "png" && format != "webp")
        return QImageIOHandler::TransformationNone;
    return exifOrientation(path);
}

/// The image turned and mirrored. Qt's order: mirrored or flipped first, then turned by 90 degrees clockwise.
QImage oriented(QImage image, QImageIOHandler::Transformations transformation)
{
    if (transformation & (QImageIOHandler::TransformationMirror | QImageIOHandler::TransformationFlip)) {
        image = std::move(image).mirrored(transformation.testFlag(QImageIOHandler::TransformationMirror),
                                          transformation.testFlag(QImageIOHandler::TransformationFlip));
    }
    if (transformation & QImageIOHandler::TransformationRotate90)
        image = image.transformed(QTransform().rotate(90));
    return image;
}

QImage inSrgb(QImage image)
{
    const QColorSpace colourSpace = image.colorSpace();
    if (colourSpace.isValid() && colourSpace != QColorSpace(QColorSpace::SRgb))
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

bool swapsSides(QImageIOHandler::Transformations transformation)
{
    return transformation.testFlag(QImageIOHandler::TransformationRotate90);
}

/// True if the picture is larger than its thumbnail in both directions, so that scaling only ever shrinks.
bool shrinks(QSize full, QSize thumbnail)
{
    return full.width() > thumbnail.width() && full.height() > thumbnail.height();
}

} // namespace

void ImageReading::setAllocationLimit()
{
    QImageReader::setAllocationLimit(
        static_cast<int>(std::max<qint64>(Platform::usableMemory() / 4 / megabyte, 256)));
}

QImage ImageReading::read(const QString &path)
{
    // Opening a pipe or a device would wait for its writer.
    if (!QFileInfo(path).isFile())
        return {};
    const DecodeGuard::Decoding decoding(path);
    if (!decoding)
        return {};

    QImageReader reader(path);
    reader.setAutoTransform(true);
    const auto remaining = ignoredOrientation(reader, path);
    return inSrgb(oriented(reader.read(), remaining));
}

ImageReading::Thumbnail ImageReading::readThumbnail(const QString &path, int side)
{
    if (!QFileInfo(path).isFile())
        return {};
    const DecodeGuard::Decoding decoding(path);
    if (!decoding)
        return {};

    QImageReader reader(path);
    reader.setAutoTransform(true);
    const auto remaining = ignoredOrientation(reader, path);

    const bool swapped = swapsSides(reader.transformation()) != swapsSides(remaining);
    QSize fullSize = reader.supportsOption(QImageIOHandler::Size) ? reader.size() : QSize();
    if (swapped)
        fullSize.transpose();
    const QSize scaled = thumbnailSize(fullSize, side);
    const bool scaledByDecoder =
        reader.supportsOption(QImageIOHandler::ScaledSize) && shrinks(fullSize, scaled);
    // The decoder scales before the orientation is applied.
    if (scaledByDecoder)
        reader.setScaledSize(swapped ? scaled.transposed() : scaled);

    QImage image = oriented(reader.read(), remaining);
    if (image.isNull())
        return {};
    if (!scaledByDecoder) {
        fullSize = image.size();
        image = image.scaled(thumbnailSize(fullSize, side), Qt::IgnoreAspectRatio, Qt::FastTransformation);
    }
    return {inSrgb(std::move(image)), fullSize};
}

QSize ImageReading::thumbnailSize(QSize full, int side)
{
    if (full.isEmpty())
        return {};
    // Rounded as QImage::scaledToWidth and scaledToHeight do.
    const auto other = [side](int longer, int shorter) {
        return std::max(1, qRound(static_cast<qreal>(side) / longer * shorter));
    };
    if (full.width() > full.height())
        return {side, other(full.width(), full.height())};
    return {other(full.height(), full.width()), side};
}
