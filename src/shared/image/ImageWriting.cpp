#include "shared/image/ImageWriting.h"

#include "shared/image/ColourCodePoints.h"
#include "shared/image/ColourConversion.h"
#include "shared/image/EmbeddedMetadata.h"
#include "shared/image/ImageMetadata.h"
#include "shared/image/JpegEncoder.h"
#include "shared/image/MemoryBudget.h"
#include "shared/image/MetadataBlocks.h"
#include "shared/image/MetadataPng.h"
#include "shared/image/PackedPng.h"
#include "shared/image/PictureRows.h"
#include "shared/image/PlainTiff.h"
#include "shared/image/PngFilter.h"
#include "shared/platform/Platform.h"

#include <QBuffer>
#include <QColorSpace>
#include <QHash>
#include <QImageWriter>
#include <QPainter>
#include <QtDebug>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// A larger picture that is not written to TIFF row by row has no metadata there, for which the whole file
// would have to be in memory.
constexpr qint64 mostInMemory = 512LL * 1024 * 1024;

constexpr qsizetype mostExif = 16 * 1024 * 1024;

/// False, after a line in the debug output, if an encoder that has all memory for itself would not get along
/// with it: some end the program then.
bool hasMemoryFor(const QImage &image, const QByteArray &format)
{
    const bool isPlainTiff =
        format.startsWith("tif")
        && PlainTiff::takes(image.format(), image.size()); // has no file to put metadata into
    const qint64 need = qint64(image.width()) * image.height()
                        * ImageWriting::bytesPerPixel(isPlainTiff ? "png" : format)
                        * (image.depth() > 32 ? 2 : 1);
    if (need <= MemoryBudget::bytes())
        return true;
    Platform::returnFreedMemory();
    const qint64 room = Platform::usableMemory() - Platform::usedMemory();
    if (need > room)
        qDebug() << "Cannot encode" << format << image.size() << "takes" << need << "bytes, left are" << room;
    return need <= room;
}

/// Whether the encoder of the format takes metadata.
bool encodesMetadata(const QByteArray &format)
{
    return format == "heic" || format == "heif" || format == "avif" || format == "jxl";
}

bool isTiff(const QByteArray &format)
{
    return format == "tif" || format == "tiff";
}

/// Whether metadata can be put into what the encoder makes, or has made.
bool takesMetadata(const QImage &image, const QByteArray &format)
{
    static const QList<QByteArray> packed = {"jpg", "jpeg", "jfif", "png", "webp"};
    return packed.contains(format)
           || (isTiff(format)
               && (PlainTiff::takes(image.format(), image.size()) || image.sizeInBytes() <= mostInMemory));
}

bool holdsAlpha(const QByteArray &format)
{
    static const QList<QByteArray> formats = {"png",  "tif", "tiff", "webp", "heic", "heif",
                                              "avif", "jxl", "ico",  "cur",  "xpm"};
    return formats.contains(format);
}

QImage onWhite(const QImage &image)
{
    QImage flat(image.size(), image.depth() > 32 ? QImage::Format_RGBX64 : QImage::Format_RGB32);
    flat.fill(Qt::white);
    copyMetadata(image, flat);
    QPainter(&flat).drawImage(0, 0, image);
    return flat;
}

/// Qt's TIFF writer takes two colours for black and white, and leaves a palette's transparency out.
QImage withoutPalette(QImage image)
{
    const QList<QRgb> colours = image.colorTable();
    const bool blackAndWhite =
        image.depth() == 1 && colours.contains(qRgb(0, 0, 0)) && colours.contains(qRgb(255, 255, 255));
    if (!colours.isEmpty() && !blackAndWhite)
        image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32
                        : image.allGray()       ? QImage::Format_Grayscale8
                                                : QImage::Format_RGB32);
    return image;
}

/// Formats to which Qt writes none but the profiles that it understands; others are put in afterwards.
const QList<QByteArray> understoodAlone = {"png", "tif", "tiff", "webp"};

bool holdsProfile(const QImage &image, const QByteArray &format)
{
    static const QList<QByteArray> all = {"jpg", "jpeg", "heic", "heif", "avif", "jxl"};
    return all.contains(format)
           || (understoodAlone.contains(format)
               && (image.colorSpace().isValid() || takesMetadata(image, format)));
}

/// PQ and HLG need more than 8 bits, and code points that say them.
QImage withWritableRange(QImage image, const QByteArray &format)
{
    if (!Colour::highDynamicRange(image.colorSpace().iccProfile()))
        return image;
    image.convertTo(image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64);
    return encodesMetadata(format) || format == "png" ? image : Colour::inSrgb(std::move(image));
}

/// In sRGB; without a profile if it says nothing of these pixels.
QImage inSrgbOrNone(QImage image)
{
    image = Colour::inSrgb(std::move(image));
    if (image.colorSpace() != QColorSpace(QColorSpace::SRgb))
        image.setColorSpace({});
    return image;
}

/// A profile of one model, grey or RGB, on pixels of the other is refused or dropped by writers and readers,
/// and Qt's JPEG writer drops that of every grey picture.
QImage withWritableProfile(QImage image, const QByteArray &format)
{
    const bool jpeg = format == "jpg" || format == "jpeg";
    const QByteArray profile = image.colorSpace().iccProfile();
    const bool greyPixels = QImage::toPixelFormat(image.format()).colorModel() == QPixelFormat::Grayscale;
    const bool fits =
        profile.mid(16, 4) == (greyPixels ? "GRAY" : "RGB "); // the header's field for the model
    const bool isHeld = holdsProfile(image, format) && fits;
    if (profile.isEmpty() || (isHeld && !(greyPixels && jpeg)))
        return image;
    return inSrgbOrNone(std::move(image));
}

EmbeddedMetadata metadataFor(const QImage &image, QSize size, const QByteArray &format, const QString &source,
                             ImageWriting::Places places)
{
    return metadataForCopy(source, size, image.colorSpace() == QColorSpace(QColorSpace::SRgb),
                           format.startsWith('j') && format != "jxl" ? EmbeddedMetadata::mostExifOfJpeg
                                                                     : mostExif,
                           places == ImageWriting::Places::Others);
}

/// The profile that Qt's writer leaves out.
QByteArray profileLeftOut(const QImage &image, const QByteArray &format)
{
    const bool isLeftOut = understoodAlone.contains(format) && !image.colorSpace().isValid();
    return isLeftOut ? image.colorSpace().iccProfile() : QByteArray();
}

bool encode(const QImage &image, const QByteArray &format, int quality, const EmbeddedMetadata &metadata,
            QIODevice &device)
{
    QImageWriter writer(&device, format);
    writer.setQuality(quality);
    writer.setOptimizedWrite(true);
    writer.setProgressiveScanWrite(true);
    if (encodesMetadata(format))
        MetadataBlocks{metadata.exif, metadata.xmpWithIptc()}.handTo(writer);
    if (writer.write(image))
        return true;
    qDebug() << "Cannot encode" << format << writer.errorString() << QImageWriter::supportedImageFormats();
    return false;
}

bool encodePng(const QImage &image, const EmbeddedMetadata &metadata, QIODevice &device)
{
    PackedPng png(device, metadata.isEmpty() ? QByteArray() : pngChunks(metadata));
    return encode(image, "png", PackedPng::quality, {}, png) && !png.hasFailed();
}

PictureRows rowsOf(const QImage &image)
{
    PictureRows rows{image.copy(0, 0, 1, 1), image.size(), {}};
    rows.next = [image, isGrey = rows.isGrey(), bytes = rows.bytesOfRow(), y = 0](uchar *row) mutable {
        const QImage line(image.constScanLine(y++), image.width(), 1, image.bytesPerLine(), image.format());
        const QImage plain = line.convertToFormat(isGrey ? QImage::Format_Grayscale8 : QImage::Format_RGB888);
        std::copy_n(plain.constScanLine(0), bytes, row);
        return true;
    };
    return rows;
}

/// What a file says of a picture whose rows follow: of JPEG as a file of one pixel. Empty if that cannot be
/// encoded, or if the profile does not go into it.
QByteArray headFor(const PictureRows &picture, const QByteArray &format, int quality, const QString &source,
                   ImageWriting::Places places)
{
    EmbeddedMetadata metadata = metadataFor(picture.pixel, picture.size, format, source, places);
    metadata.icc = profileLeftOut(picture.pixel, format);
    QBuffer buffer;
    if (format == "png")
        return buffer.open(QIODevice::WriteOnly) && encodePng(picture.pixel, metadata, buffer)
                   ? PackedPng::headOf(buffer.data(), picture.size)
                   : QByteArray();
    if (!encode(picture.pixel, format, quality, metadata, buffer))
        return {};
    const QByteArray whole = metadata.isEmpty() ? buffer.data() : withMetadata(buffer.data(), metadata);
    if (!metadata.icc.isEmpty() && whole == buffer.data())
        return {};
    if (!isTiff(format))
        return whole;
    const QByteArray head = PlainTiff::headOf(picture, whole);
    // Metadata cost themselves, not the picture.
    return head.isEmpty() ? PlainTiff::headOf(picture, buffer.data()) : head;
}

bool writeBehind(const QByteArray &head, const PictureRows &picture, const QByteArray &format,
                 QIODevice &device)
{
    const qint64 rowBytes = picture.bytesOfRow();
    const auto eachRow = [&picture, rowBytes](const auto &take) {
        std::vector<uchar> row(static_cast<size_t>(rowBytes));
        for (int y = 0; y < picture.size.height(); ++y)
            if (!picture.next(row.data()) || !take(row.data()))
                return false;
        return true;
    };
    if (format == "jpg") {
        JpegEncoder jpeg(device);
        return jpeg.start(head, picture.size) && eachRow([&](uchar *row) { return jpeg.write(row); })
               && jpeg.finish();
    }
    if (device.write(head) != head.size())
        return false;
    if (format == "png") {
        PackedPng png(device, {});
        PngFilter filter(static_cast<size_t>(rowBytes), picture.isGrey() ? 1 : 3, picture.size.height() == 1);
        return eachRow([&](const uchar *row) { return png.pack(filter.filtered(row)); }) && png.finish();
    }
    return eachRow([&](const uchar *row) {
        return device.write(reinterpret_cast<const char *>(row), rowBytes) == rowBytes;
    });
}

} // namespace

QImage ImageWriting::fitted(QImage image, const QByteArray &format)
{
    image = withWritableRange(std::move(image), format);
    if (image.hasAlphaChannel() && !holdsAlpha(format))
        image = onWhite(image);
    if (isTiff(format))
        image = withoutPalette(std::move(image));
    // These encoders take three bytes a pixel, and would have them beside the four.
    if ((encodesMetadata(format) || format == "webp") && image.format() == QImage::Format_RGB32)
        image.convertTo(QImage::Format_RGB888);
    return withWritableProfile(std::move(image), format);
}

int ImageWriting::bytesPerPixel(const QByteArray &format)
{
    // Measured as the peak of a process that writes 12 and 48 megapixels of noise on gradients (getrusage),
    // less that before: jpg 3.5 and 3.1, png 0.5 and 0.1, tif 2.2 and 0.5, webp 13.2 and 13.0, gif 1.0
    // and 1.0, heic 19.1 and 17.6, avif 22.5 and 21.5, jxl 50.8 and 50.0. Metadata that are put into a
    // finished file, of all but png and plain tif, take that file three times more, and a profile of webp the
    // picture once more.
    static const QHash<QByteArray, int> needs = {{"jpg", 6},   {"png", 6}, {"tif", 16},  {"tiff", 16},
                                                 {"webp", 20}, {"gif", 2}, {"heic", 24}, {"heif", 24},
                                                 {"avif", 24}, {"jxl", 56}};
    return needs.value(format, 8);
}

bool ImageWriting::takesRows(const QByteArray &format)
{
    return format == "jpg" || format == "png" || isTiff(format);
}

bool ImageWriting::takesRows(const PictureRows &picture, const QByteArray &format)
{
    const QImage &pixel = picture.pixel;
    const QImage fit = fitted(pixel, format);
    return takesRows(format) && PlainTiff::takes(pixel.format(), picture.size)
           && fit.format() == pixel.format()
           && fit.colorSpace().iccProfile() == pixel.colorSpace().iccProfile();
}

bool ImageWriting::writeRows(const PictureRows &picture, const QByteArray &format, int quality,
                             const QString &source, QIODevice &device)
{
    const QByteArray head = headFor(picture, format, quality, source, Places::AsInSource);
    return !head.isEmpty() && writeBehind(head, picture, format, device);
}

bool ImageWriting::write(const QImage &image, const QByteArray &format, int quality, const QString &source,
                         QIODevice &device, Places places)
{
    if (!hasMemoryFor(image, format))
        return false;
    const QByteArray profile = profileLeftOut(image, format);
    if (isTiff(format) && PlainTiff::takes(image.format(), image.size())) {
        const PictureRows rows = rowsOf(image);
        const QByteArray head = headFor(rows, format, quality, source, places);
        if (head.isEmpty() && !profile.isEmpty()) // of other colours without it
            return write(inSrgbOrNone(image), format, quality, source, device, places);
        return !head.isEmpty() && writeBehind(head, rows, format, device);
    }
    EmbeddedMetadata metadata;
    const bool isTaken = takesMetadata(image, format);
    if (!image.isNull() && (isTaken || encodesMetadata(format)))
        metadata = metadataFor(image, image.size(), format, source, places);
    metadata.icc = profile;
    if (format == "png")
        return encodePng(image, metadata, device);
    QBuffer buffer;
    const bool inMemory = isTaken && !metadata.isEmpty();
    QImage encodable = image;
    if (!profile.isEmpty() && format == "webp")
        encodable.setColorSpace(
            QColorSpace::SRgb); // exiv2 changes a profile, and adds one in the wrong place
    if (!encode(encodable, format, quality, metadata, inMemory ? static_cast<QIODevice &>(buffer) : device))
        return false;
    if (!inMemory)
        return true;
    const QByteArray whole = withMetadata(buffer.data(), metadata);
    if (!profile.isEmpty() && whole == buffer.data()) // of other colours without it
        return write(inSrgbOrNone(image), format, quality, source, device, places);
    return device.write(whole) == whole.size();
}
