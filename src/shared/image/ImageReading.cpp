#include "shared/image/ImageReading.h"

#include "shared/image/ColourConversion.h"
#include "shared/image/ColourPng.h"
#include "shared/image/DecodeGuard.h"
#include "shared/image/ExifOrientation.h"
#include "shared/image/ImageMetadata.h"
#include "shared/image/JpegEighth.h"
#include "shared/platform/Platform.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QTransform>

#include <algorithm>
#include <utility>

namespace {

constexpr qint64 megabyte = 1024 * 1024;

// Larger JPEG files are left to the decoder that reads them piece by piece.
constexpr qint64 mostJpegBytes = 64 * megabyte;

bool swapsSides(QImageIOHandler::Transformations transformation)
{
    return transformation.testFlag(QImageIOHandler::TransformationRotate90);
}

/// The image turned and mirrored. Qt's order: mirrored or flipped first, then turned by 90 degrees clockwise.
QImage oriented(QImage image, QImageIOHandler::Transformations transformation)
{
    const QColorSpace colours = image.colorSpace(); // lost by a turn of Qt's
    const bool mirrored = transformation.testFlag(QImageIOHandler::TransformationMirror);
    const bool flipped = transformation.testFlag(QImageIOHandler::TransformationFlip);
    if (mirrored || flipped)
        image = std::move(image).mirrored(mirrored, flipped);
    if (swapsSides(transformation))
        image = image.transformed(QTransform().rotate(90));
    image.setColorSpace(colours);
    return image;
}

/// One file that is being read.
class PictureFile
{
public:
    explicit PictureFile(const QString &path)
        : decoding(path)
        , reader(decoding ? path : QString())
        , ignored(decoding ? ignoredOrientation(path) : QImageIOHandler::TransformationNone)
    {
        if (reader.format() == "tiff") { // Qt's plug-in takes some kinds for others
            reader.setFileName(path);    // and so lets go of the plug-in
            reader.setFormat("orrelan-tiff");
            reader.setAutoDetectImageFormat(false);
        }
    }

    /// Size of the upright picture, or an empty size if the format does not tell before it is read.
    QSize size() const
    {
        const QSize stored = reader.supportsOption(QImageIOHandler::Size) ? reader.size() : QSize();
        return turned() ? stored.transposed() : stored;
    }

    /// Tells the decoder to scale the upright picture. False if it cannot; then nothing changes.
    bool scaleTo(QSize size)
    {
        if (!reader.supportsOption(QImageIOHandler::ScaledSize))
            return false;
        // The decoder scales before the orientation is applied.
        reader.setScaledSize(turned() ? size.transposed() : size);
        return true;
    }

    /// The upright picture; null if there is none.
    ImageReading::HeldPicture read()
    {
        if (!decoding)
            return {};
        auto share = std::make_unique<const MemoryBudget::Share>(bytesToDecode());
        const QByteArray format = reader.format();
        QImage image = withoutMetadataTexts(reader.read());
        image = oriented(oriented(std::move(image), reader.transformation()), ignored);
        image.setDevicePixelRatio(1); // which Qt reads out of names like "a@2x.png"
        if (QFile file(reader.fileName()); format == "png" && file.open(QIODevice::ReadOnly))
            image.setColorSpace(pngColourSpace(file, image.colorSpace()));
        return {std::move(image), std::move(share)};
    }

    /// The upright picture by way of a JPEG file's blocks, scaled as `scaleTo` was told; null if that is not
    /// for this file or this size.
    QImage readFromEighth()
    {
        const QSize scaled = reader.scaledSize();
        const QSize eighth = reader.size() / 8;
        QFile file(reader.fileName());
        if (!decoding || reader.format() != "jpeg" || scaled.width() > eighth.width()
            || scaled.height() > eighth.height() || file.size() > mostJpegBytes
            || !file.open(QIODevice::ReadOnly))
            return {};
        const MemoryBudget::Share share(file.size() + 8LL * eighth.width() * eighth.height());
        const QImage image = readJpegEighth(file.readAll());
        if (image.isNull())
            return {};
        return oriented(image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
                        reader.transformation());
    }

private:
    /// Memory for two of the decoded picture, which may have to be turned. Not every decoder that gives a
    /// scaled picture decodes a smaller one.
    qint64 bytesToDecode() const
    {
        const QByteArray format = reader.format();
        const bool decodesScaled = reader.scaledSize().isValid() && (format == "jpeg" || format == "webp");
        const QSize decoded = decodesScaled ? reader.scaledSize() : size();
        return decoded.isEmpty() ? 0 : 2LL * decoded.width() * decoded.height() * bytesOfPixel();
    }

    int bytesOfPixel() const
    {
        // Of a broken file, Qt's JPEG plug-in says what happens to stand in its memory.
        const QImage::Format format = reader.imageFormat();
        const bool isKnown = format > QImage::Format_Invalid && format < QImage::NImageFormats;
        return std::max(isKnown ? QImage::toPixelFormat(format).bitsPerPixel() / 8 : 0, 4);
    }

    /// The orientation that the format's plug-in leaves out.
    QImageIOHandler::Transformations ignoredOrientation(const QString &path) const
    {
        if (reader.supportsOption(QImageIOHandler::ImageTransformation))
            return QImageIOHandler::TransformationNone;
        const QByteArray format = reader.format();
        return format == "png" || format == "webp" ? exifOrientation(path)
                                                   : QImageIOHandler::TransformationNone;
    }

    bool turned() const { return swapsSides(reader.transformation()) != swapsSides(ignored); }

    const DecodeGuard::Decoding decoding;
    QImageReader reader;
    const QImageIOHandler::Transformations ignored;
};

/// True unless opening would wait for somebody else, as with a pipe.
bool canBeOpened(const QString &path)
{
    return QFileInfo(path).isFile();
}

} // namespace

void ImageReading::setAllocationLimit()
{
    const qint64 usable = Platform::usableMemory() / megabyte;
    QImageReader::setAllocationLimit(static_cast<int>(std::max<qint64>(usable / 4, 256)));
    MemoryBudget::setBytes(std::max<qint64>(usable / 2, 512) * megabyte);
}

QImage ImageReading::read(const QString &path, Colours colours)
{
    return readAndHold(path, colours).image;
}

ImageReading::HeldPicture ImageReading::readAndHold(const QString &path, Colours colours)
{
    if (!canBeOpened(path))
        return {};
    HeldPicture picture = PictureFile(path).read();
    if (colours == Colours::Srgb)
        picture.image = Colour::inSrgb(std::move(picture.image));
    return picture;
}

ImageReading::Thumbnail ImageReading::readThumbnail(const QString &path, int side)
{
    if (!canBeOpened(path))
        return {};
    PictureFile file(path);
    QSize fullSize = file.size();
    const QSize scaled = thumbnailSize(fullSize, side);
    // The decoder only ever shrinks.
    const bool scaledByDecoder =
        fullSize.width() > scaled.width() && fullSize.height() > scaled.height() && file.scaleTo(scaled);
    QImage image = scaledByDecoder ? file.readFromEighth() : QImage();
    if (image.isNull())
        image = file.read().image;
    if (image.isNull())
        return {};
    if (image.size() != scaled) { // not scaled, or not of the size that its header told
        fullSize = image.size();
        image = image.scaled(thumbnailSize(fullSize, side), Qt::IgnoreAspectRatio, Qt::FastTransformation);
    }
    return {Colour::inSrgb(std::move(image)), fullSize};
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
