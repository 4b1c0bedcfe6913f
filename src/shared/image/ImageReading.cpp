#include "shared/image/ImageReading.h"

#include "shared/image/ColourCodePoints.h"
#include "shared/image/ColourConversion.h"
#include "shared/image/ColourExif.h"
#include "shared/image/ColourJpeg.h"
#include "shared/image/ColourPng.h"
#include "shared/image/DecodeGuard.h"
#include "shared/image/DecodingNeed.h"
#include "shared/image/ExifOrientation.h"
#include "shared/image/Flipping.h"
#include "shared/image/ImageMetadata.h"
#include "shared/image/JpegDecoder.h"
#include "shared/image/JpegEighth.h"
#include "shared/image/JpegMarkers.h"
#include "shared/image/ShrunkPng.h"
#include "shared/image/ShrunkWebp.h"
#include "shared/platform/FileForReading.h"
#include "shared/platform/Platform.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFileInfo>
#include <QImageReader>
#include <QtDebug>
#include <QTransform>

#include <algorithm>
#include <new>
#include <utility>

namespace {

constexpr qint64 megabyte = 1024 * 1024;

// Larger JPEG files are left to the decoder that reads them piece by piece.
constexpr qint64 mostJpegBytes = 64 * megabyte;

// Each scan costs a pass over the whole picture, even an empty one; encoders make a dozen.
constexpr qsizetype mostScans = 100;

constexpr qint64 littleMemory = 4096; ///< megabytes, which the holes that encoders leave would use up

constexpr qint64 doubtfulBytes = 64 * megabyte;
constexpr qint64 doubtfulRatio = 1000; ///< of decoded bytes to those of the file

/// What goes on with the picture may do so beside encoders.
MemoryBudget::Patience patienceFor(int bytesPerPixelAfterwards)
{
    return bytesPerPixelAfterwards > 0 ? MemoryBudget::Patience::Long : MemoryBudget::Patience::Short;
}

bool swapsSides(QImageIOHandler::Transformations transformation)
{
    return transformation.testFlag(QImageIOHandler::TransformationRotate90);
}

/// The image turned and mirrored. Qt's order: mirrored or flipped first, then turned by 90 degrees clockwise.
QImage oriented(QImage image, QImageIOHandler::Transformations transformation)
{
    const QColorSpace colours = image.colorSpace(); // lost by a turn of Qt's
    Qt::Orientations directions;
    directions.setFlag(Qt::Horizontal, transformation.testFlag(QImageIOHandler::TransformationMirror));
    directions.setFlag(Qt::Vertical, transformation.testFlag(QImageIOHandler::TransformationFlip));
    if (directions)
        image = flipped(std::move(image), directions);
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
        : path(path)
        , decoding(path)
        , file(path)
        , beside(path)
    {
        if (!decoding || !file.open())
            return;
        // All readers wait while one looks for its plug-in, with these bytes: a drive that hangs does so
        // before.
        file.peek(1);
        reader.setDevice(&file);
        // Qt's plug-ins take some kinds for others, or refuse them.
        if (const QByteArray format = reader.format(); format == "tiff" || format == "bmp") {
            reader.setDevice(&file); // and so lets go of the plug-in
            reader.setFormat("orrelan-" + format);
            reader.setAutoDetectImageFormat(false);
        }
        ignored = ignoredOrientation();
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
        if (!reader.supportsOption(QImageIOHandler::ScaledSize) && reader.format() != "webp") // as we do that
            return false;
        // The decoder scales before the orientation is applied.
        reader.setScaledSize(turned() ? size.transposed() : size);
        return true;
    }

    /// The upright picture; null if there is none. Its share has room for what follows, too.
    ImageReading::HeldPicture read(int bytesPerPixelAfterwards = 0)
    {
        if (!decoding)
            return {};
        const DecodingNeed need = decodingNeed(reader, look());
        const qint64 budget = MemoryBudget::bytes();
        if (need.decoder > budget)
            return {};
        const qint64 afterwards = need.pictures + need.pictures / 2 / 4 * bytesPerPixelAfterwards;
        const MemoryBudget::Patience patience = patienceFor(bytesPerPixelAfterwards);
        auto share = std::make_unique<const MemoryBudget::Share>(
            std::max({need.sum(), afterwards, isDoubtful(need) ? budget : 0}), patience);
        const QByteArray format = reader.format();
        QImage image = decoded(need);
        if (image.isNull() && format == "orrelan-tiff" && reader.scaledSize().isValid()) {
            share.reset(); // other ways to decode it give the whole picture
            reader.setScaledSize({});
            return read(bytesPerPixelAfterwards);
        }
        if (image.isNull() && format == "png") {
            // Beside the picture the file, its packed rows and these, unpacked and packed again.
            share.reset();
            share = std::make_unique<const MemoryBudget::Share>(
                std::max(need.pictures + need.pictures / 2 + 2 * file.size(), afterwards), patience);
            image = QImageReader(&look(), "orrelan-png").read();
        }
        // From Qt 6.8 on inks without a profile come as they are.
        if (image.pixelFormat().colorModel() == QPixelFormat::CMYK)
            image = std::move(image).convertToFormat(QImage::Format_RGB32);
        image = withoutMetadataTexts(std::move(image));
        image = oriented(oriented(std::move(image), reader.transformation()), ignored);
        image.setDevicePixelRatio(1); // which Qt reads out of names like "a@2x.png"
        image.setColorSpace(colourSpaceOf(image, format));
        return {std::move(image), std::move(share)};
    }

    /// The upright picture by way of a JPEG file's blocks, scaled as `scaleTo` was told; null if that is not
    /// for this file or this size.
    QImage readFromEighth()
    {
        const QSize scaled = reader.scaledSize();
        const QSize eighth = reader.size() / 8;
        if (scaled.width() > eighth.width() || scaled.height() > eighth.height())
            return {};
        const QImage image = readEighth().image;
        if (image.isNull())
            return {};
        return oriented(image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
                        reader.transformation());
    }

    /// As the function of this name. The rows last as long as this.
    std::optional<PictureRows> openRows()
    {
        // Encoders may keep the coefficients of a picture that is decoded row by row.
        constexpr int bytesOfCoefficients = 6;
        if (!decoding || decoding.staysSuspect() || reader.format() != "jpeg"
            || reader.transformation() != QImageIOHandler::TransformationNone
            || JpegMarkers::coefficientBytes(look()) != 0)
            return {};
        const QSize size = reader.size();
        const DecodingNeed need = decodingNeed(reader, look());
        if (need.pictures > MemoryBudget::bytes() || isDoubtful(need))
            return {};
        reader.setClipRect(QRect(0, 0, 1, 1));
        QImage pixel = withoutMetadataTexts(reader.read());
        pixel.setDevicePixelRatio(1);
        pixel.setColorSpace(colourSpaceOf(pixel, "jpeg"));
        share.emplace(qint64(size.width()) * size.height() * bytesOfCoefficients,
                      MemoryBudget::Patience::Long);
        rows.emplace(look());
        PictureRows picture{std::move(pixel), size, [this, left = size.height()](uchar *row) mutable {
                                return rows->read(row) && (--left > 0 || rows->finish());
                            }};
        if (!rows->start(JpegDecoder::Model::Light) || rows->size() != size
            || picture.bytesOfRow() != qint64(size.width()) * rows->bytesPerPixel())
            return {};
        return picture;
    }

    /// As the function of this name.
    std::optional<ImageReading::PlainJpeg> readPlainJpeg(const std::function<bool(QSize)> &isWanted)
    {
        if (decoding.staysSuspect() || reader.transformation() != QImageIOHandler::TransformationNone
            || !isWanted(reader.size()))
            return {};
        const auto [bytes, image] = readEighth();
        const QColorSpace colours = image.colorSpace();
        const bool isSrgb = colours.iccProfile().isEmpty() || colours == QColorSpace(QColorSpace::SRgb);
        if (image.isNull() || !isSrgb)
            return {};
        return ImageReading::PlainJpeg{JpegMarkers::withoutMetadata(bytes), reader.size(),
                                       image.format() == QImage::Format_Grayscale8};
    }

private:
    /// The bytes of a JPEG file, and what is seen of it in its blocks, as it is stored; a null picture if it
    /// is not whole, or nothing for this way.
    struct Eighth
    {
        QByteArray bytes;
        QImage image;
    };
    Eighth readEighth()
    {
        if (!decoding || reader.format() != "jpeg" || file.size() > mostJpegBytes)
            return {};
        const qint64 coefficients = JpegMarkers::coefficientBytes(look()).value_or(0);
        if (coefficients > MemoryBudget::bytes())
            return {};
        const QSize eighth = reader.size() / 8;
        // Of the coefficients of several scans those of the smaller colours are kept.
        const MemoryBudget::Share share(file.size() + 8LL * eighth.width() * eighth.height()
                                        + coefficients / 2);
        Eighth read{look().readAll(), {}};
        read.image = readJpegEighth(read.bytes);
        if (!read.image.isNull())
            read.image.setColorSpace(colourSpaceOf(read.image, "jpeg"));
        return read;
    }

    /// The picture as it is stored; of a damaged JPEG file what there is of it.
    QImage decoded(const DecodingNeed &need)
    {
        const QByteArray format = reader.format();
        // Its rows and the file itself fit into what the decoder and a copy of its picture would take.
        if (format == "png" && reader.scaledSize().isValid() && file.size() <= need.pictures / 2 + megabyte) {
            QByteArray shrunk = shrunkPng(look(), reader.scaledSize());
            QBuffer buffer(&shrunk);
            const QImage image = shrunk.isEmpty() ? QImage() : QImageReader(&buffer, format).read();
            if (!image.isNull())
                return image;
        }
        if (format == "webp" && reader.scaledSize().isValid()) {
            const QImage image = shrunkWebp(look(), reader.scaledSize());
            if (!image.isNull())
                return image;
        }
        if (format != "jpeg")
            return reader.read();
        QList<qint64> scans;
        if (need.decoder > 0)
            scans = JpegMarkers::scanEnds(look(), mostScans);
        QImage image = scans.size() < mostScans ? readInkJpeg(look(), reader.scaledSize()) : QImage();
        if (image.isNull() && scans.size() < mostScans)
            image = reader.read();
        if (image.isNull() && scans.isEmpty())
            scans = JpegMarkers::scanEnds(look(), mostScans);
        if (image.isNull() && !scans.isEmpty())
            image = decodedUntil(scans.last());
        if (image.isNull() && scans.size() > 1)
            image = decodedUntil(scans.first());
        return image;
    }

    /// The colour space of the picture that was read, or what else the file says of it.
    QColorSpace colourSpaceOf(const QImage &image, const QByteArray &format)
    {
        QColorSpace space = image.colorSpace();
        const bool isPlain = space.iccProfile().isEmpty() && !image.isNull();
        if (format == "png")
            space = pngColourSpace(look(), space);
        return isPlain && space.iccProfile().isEmpty() && exifMeansAdobeRgb(look()) ? QColorSpace::AdobeRgb
                                                                                    : space;
    }

    /// What the first bytes of a JPEG file show.
    QImage decodedUntil(qint64 end)
    {
        if (end > mostJpegBytes)
            return {};
        QByteArray bytes = JpegMarkers::cutAt(look(), end);
        QBuffer buffer(&bytes);
        QImage image = buffer.open(QIODevice::ReadOnly) ? readInkJpeg(buffer, reader.scaledSize()) : QImage();
        if (!image.isNull())
            return image;
        buffer.seek(0);
        QImageReader cut(&buffer, "jpeg");
        cut.setScaledSize(reader.scaledSize());
        return cut.read();
    }

    /// The orientation that the format's plug-in leaves out.
    QImageIOHandler::Transformations ignoredOrientation()
    {
        if (reader.supportsOption(QImageIOHandler::ImageTransformation))
            return QImageIOHandler::TransformationNone;
        const QByteArray format = reader.format();
        return format == "png" || format == "webp" ? exifOrientation(look())
                                                   : QImageIOHandler::TransformationNone;
    }

    /// A few bytes that claim a huge picture may be one, but are more likely to be broken.
    bool isDoubtful(const DecodingNeed &need) const
    {
        return need.sum() > doubtfulBytes && need.sum() / doubtfulRatio > file.size();
    }

    /// The file from its beginning, for all but the decoder, which counts on its own place in it.
    QFile &look()
    {
        if (!beside.isOpen() && !beside.open())
            qDebug() << "Cannot read" << path << beside.errorString();
        beside.seek(0);
        return beside;
    }

    bool turned() const { return swapsSides(reader.transformation()) != swapsSides(ignored); }

    const QString path;
    DecodeGuard::Decoding decoding;
    FileForReading file;
    FileForReading beside;
    QImageReader reader; ///< of the file
    QImageIOHandler::Transformations ignored;
    std::optional<const MemoryBudget::Share> share; ///< while there are rows
    std::optional<JpegDecoder> rows;
};

/// True for what is in 8 bits by now, and is mapped or encoded in 16.
bool becomesDeep(const QImage &image)
{
    return image.depth() <= 32 && Colour::highDynamicRange(image.colorSpace().iccProfile());
}

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
    if (usable < littleMemory)
        Platform::returnLargeBlocksAtOnce();
}

QImage ImageReading::read(const QString &path, Colours colours)
{
    return readAndHold(path, colours).image;
}

ImageReading::HeldPicture ImageReading::readAndHold(const QString &path, Colours colours, int bytesPerPixel)
try {
    if (!canBeOpened(path))
        return {};
    HeldPicture picture = PictureFile(path).read(bytesPerPixel);
    if (becomesDeep(picture.image)) {
        const qint64 pixels = qint64(picture.image.width()) * picture.image.height();
        picture.share.reset(); // two that wait for more would wait for each other
        picture.share = std::make_unique<const MemoryBudget::Share>(
            picture.image.sizeInBytes() + pixels * 2 * (4 + bytesPerPixel), patienceFor(bytesPerPixel));
    }
    if (colours == Colours::Srgb)
        picture.image = Colour::inSrgb(std::move(picture.image));
    return picture;
} catch (const std::bad_alloc &) { // which costs this picture, not the program
    qDebug() << "No memory for" << path;
    return {};
}

std::optional<PictureRows> ImageReading::openRows(const QString &path)
try {
    if (!canBeOpened(path))
        return {};
    const auto file = std::make_shared<PictureFile>(path);
    auto picture = file->openRows();
    if (picture)
        picture->next = [file, next = std::move(picture->next)](uchar *row) { return next(row); };
    return picture;
} catch (const std::bad_alloc &) {
    qDebug() << "No memory for" << path;
    return {};
}

std::optional<ImageReading::PlainJpeg> ImageReading::readPlainJpeg(const QString &path,
                                                                   const std::function<bool(QSize)> &isWanted)
try {
    return canBeOpened(path) ? PictureFile(path).readPlainJpeg(isWanted) : std::nullopt;
} catch (const std::bad_alloc &) {
    qDebug() << "No memory for" << path;
    return {};
}

ImageReading::Thumbnail ImageReading::readThumbnail(const QString &path, int side)
try {
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
} catch (const std::bad_alloc &) {
    qDebug() << "No memory for" << path;
    return {};
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
