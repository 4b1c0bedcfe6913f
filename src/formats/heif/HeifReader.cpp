#include "formats/heif/HeifReader.h"

#include "formats/ClampToAlpha.h"
#include "formats/heif/HeifColour.h"
#include "formats/heif/HeifLimits.h"
#include "formats/heif/HeifSamples.h"
#include "formats/heif/HeifShrunk.h"
#include "shared/image/Flipping.h"

#include <QImageReader>
#include <QSysInfo>
#include <QtEndian>
#include <QTransform>

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <utility>
#include <vector>

/// libheif's view of the reader's device.
struct HeifDeviceAccess
{
    static HeifReader &reader(void *user) { return *static_cast<HeifReader *>(user); }

    static int64_t position(void *user) { return reader(user).device->pos() - reader(user).start; }

    static int read(void *data, size_t size, void *user)
    {
        const auto wanted = static_cast<qint64>(size);
        return reader(user).device->read(static_cast<char *>(data), wanted) == wanted ? 0 : 1;
    }

    static int seek(int64_t position, void *user)
    {
        return reader(user).device->seek(reader(user).start + position) ? 0 : 1;
    }

    static heif_reader_grow_status waitForSize(int64_t size, void *user)
    {
        return size <= reader(user).device->size() - reader(user).start
                   ? heif_reader_grow_status_size_reached
                   : heif_reader_grow_status_size_beyond_eof;
    }

    static heif_reader make()
    {
        heif_reader access{};
        access.reader_api_version = 1;
        access.get_position = position;
        access.read = read;
        access.seek = seek;
        access.wait_for_file_size = waitForSize;
        return access;
    }
};

namespace {

constexpr int headerBytes = 256;         // room for more brands than any writer lists
constexpr qint64 megabyte = 1024 * 1024; // unit of QImageReader's limit
constexpr int leastBytesPerPixel = 4;    // as Qt counts: most pictures take as much sooner or later
constexpr int mostThumbnails = 16;
constexpr int leastThumbnail = 256; // pixels of the longer side; smaller ones are often stale or coarse
constexpr int mostMetadataBlocks = 16;
constexpr size_t mostMetadataBytes = 16 * 1024 * 1024;

/// How the pixels of a picture are asked for, so that they need no further copy.
struct Layout
{
    heif_chroma chroma;
    QImage::Format format;
};

Layout layoutOf(const heif_image_handle &handle, bool forScaling)
{
    const bool alpha = heif_image_handle_has_alpha_channel(&handle);
    const bool premultiplied = alpha && heif_image_handle_is_premultiplied_alpha(&handle);
    if (heif_image_handle_get_luma_bits_per_pixel(&handle) > 8) {
        const bool little = QSysInfo::ByteOrder == QSysInfo::LittleEndian;
        return {little ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBBAA_BE,
                premultiplied ? QImage::Format_RGBA64_Premultiplied
                : alpha       ? QImage::Format_RGBA64
                              : QImage::Format_RGBX64};
    }
    if (alpha)
        return {heif_chroma_interleaved_RGBA,
                premultiplied ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_RGBA8888};
    // Qt scales pixels of four bytes, and would convert those of three.
    if (forScaling)
        return {heif_chroma_interleaved_RGBA, QImage::Format_RGBX8888};
    return {heif_chroma_interleaved_RGB, QImage::Format_RGB888};
}

int bytesPerPixel(QImage::Format format)
{
    return QImage::toPixelFormat(format).bitsPerPixel() / 8;
}

bool withinLimit(QSize size, QImage::Format format)
{
    const qint64 limit = QImageReader::allocationLimit();
    const int each = std::max(leastBytesPerPixel, bytesPerPixel(format));
    const qint64 bytes = static_cast<qint64>(size.width()) * size.height() * each;
    return !size.isEmpty() && (limit <= 0 || bytes <= limit * megabyte);
}

QSize sizeOf(const heif_image_handle &handle)
{
    return {heif_image_handle_get_width(&handle), heif_image_handle_get_height(&handle)};
}

bool sameShape(QSize thumbnail, QSize full)
{
    const double scale = static_cast<double>(full.width()) / full.height();
    return std::abs(thumbnail.width() - thumbnail.height() * scale) <= 1
           || std::abs(thumbnail.height() - thumbnail.width() / scale) <= 1;
}

/// Samples of `bits` bits spread over the 16 bits of Qt's.
void widen(QImage &image, int bits)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *const line = reinterpret_cast<quint16 *>(image.scanLine(y));
        std::transform(line, line + 4 * static_cast<qsizetype>(image.width()), line,
                       [bits](quint16 sample) { return Heif::widened(sample, bits); });
    }
}

void releaseImage(void *image)
{
    heif_image_release(static_cast<heif_image *>(image));
}

bool isMirrored(const std::vector<Heif::Turn> &turns)
{
    return std::any_of(turns.begin(), turns.end(),
                       [](const auto &turn) { return turn.kind == Heif::Turn::Mirror; });
}

/// The pixels of one side that an aperture leaves, as libheif rounds them: the first, and their number.
std::pair<int, int> cropped(int pixels, double aperture, double offset)
{
    const double first = std::floor(offset + (pixels - 1) / 2.0 - (aperture - 1) / 2);
    const double last = std::round(first + aperture - 1);
    const int from = static_cast<int>(std::clamp<double>(first, 0, pixels));
    return {from, static_cast<int>(std::clamp<double>(last, -1, pixels - 1)) - from + 1};
}

QImage turned(const QImage &image, const Heif::Turn &turn)
{
    switch (turn.kind) {
    case Heif::Turn::Mirror:
        return flipped(image, turn.value == 1 ? Qt::Horizontal : Qt::Vertical);
    case Heif::Turn::Quarters:
        return image.transformed(QTransform().rotate(-90 * turn.value));
    case Heif::Turn::Crop:
        break;
    }
    const auto [left, width] = cropped(image.width(), turn.aperture.width(), turn.offset.x());
    const auto [top, height] = cropped(image.height(), turn.aperture.height(), turn.offset.y());
    return width > 0 && height > 0 ? image.copy(left, top, width, height) : QImage();
}

QImage turned(QImage image, const std::vector<Heif::Turn> &turns)
{
    for (const Heif::Turn &turn : turns)
        image = turned(image, turn);
    return image;
}

/// The decoded picture; the QImage takes over the library's memory.
QImage decodePicture(const heif_image_handle &handle, bool forScaling, bool upright)
{
    const Layout layout = layoutOf(handle, forScaling);
    if (!withinLimit(sizeOf(handle), layout.format))
        return {};
    heif_image *decoded = nullptr;
    const Heif::DecodingOptions options(heif_decoding_options_alloc());
    options->ignore_transformations = !upright;
    const bool ok =
        Heif::isOk(heif_decode_image(&handle, &decoded, heif_colorspace_RGB, layout.chroma, options.get()));
    Heif::Image owner(decoded);
    if (!ok || !decoded || heif_image_get_chroma_format(decoded) != layout.chroma)
        return {};
    const QSize size(heif_image_get_width(decoded, heif_channel_interleaved),
                     heif_image_get_height(decoded, heif_channel_interleaved));
    int stride = 0;
    uchar *const pixels = heif_image_get_plane(decoded, heif_channel_interleaved, &stride);
    if (!pixels || !withinLimit(size, layout.format) || stride / bytesPerPixel(layout.format) < size.width())
        return {};
    const int bits = heif_image_get_bits_per_pixel_range(decoded, heif_channel_interleaved);
    QImage image(pixels, size.width(), size.height(), stride, layout.format, releaseImage, owner.release());
    if (layout.format == QImage::Format_RGBA8888_Premultiplied)
        clampToAlpha<quint8>(image);
    if (bytesPerPixel(layout.format) == 8)
        widen(image, bits);
    if (layout.format == QImage::Format_RGBA64_Premultiplied)
        clampToAlpha<quint16>(image);
    return image;
}

} // namespace

HeifReader::HeifReader(QIODevice &source)
    : device(&source)
{
}

QByteArray HeifReader::format(QIODevice &device)
{
    static constexpr std::array hevc{"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs"};
    static constexpr std::array av1{"avif", "avis"};
    static constexpr std::array any{"mif1", "msf1", "mif2"};
    const QByteArray header = device.peek(headerBytes);
    if (header.size() < 12 || header.mid(4, 4) != "ftyp")
        return {};
    const auto has = [&](const auto &names) {
        // The main brand, then behind the version the compatible ones up to the end of the box.
        const qsizetype end = std::min<qsizetype>(header.size(), static_cast<quint8>(header[3]));
        for (qsizetype at = 8; at == 8 || at + 4 <= end; at += at == 8 ? 8 : 4) {
            if (std::find(names.begin(), names.end(), header.mid(at, 4)) != names.end())
                return true;
        }
        return false;
    };
    return has(av1) ? "avif" : has(hevc) ? "heic" : has(any) ? "heif" : QByteArray();
}

bool HeifReader::open()
{
    if (opened)
        return primary != nullptr;
    opened = true;
    static const heif_reader access = HeifDeviceAccess::make(); // the context keeps its address
    if (device->isSequential()) {
        buffered.setData(device->readAll());
        buffered.open(QIODevice::ReadOnly);
        device = &buffered;
    }
    start = device->pos();
    try {
        Heif::initialise();
        context.reset(heif_context_alloc());
        heif_image_handle *handle = nullptr;
        if (context && limitCost()
            && Heif::isOk(heif_context_read_from_reader(context.get(), &access, this, nullptr))
            && Heif::isOk(heif_context_get_primary_image_handle(context.get(), &handle)))
            primary.reset(handle);
    } catch (const std::exception &) {
        primary.reset();
    }
    return primary != nullptr;
}

bool HeifReader::limitCost()
{
#if LIBHEIF_HAVE_VERSION(1, 19, 0)
    heif_security_limits *const limits = heif_context_get_security_limits(context.get());
    if (const qint64 limit = QImageReader::allocationLimit(); limit > 0)
        limits->max_image_size_pixels = static_cast<uint64_t>(limit * megabyte / leastBytesPerPixel);
#    if LIBHEIF_HAVE_VERSION(1, 20, 0)
    // Planes as coded, with alpha, and what becomes of them: twice as much as the picture.
    if (const qint64 limit = QImageReader::allocationLimit(); limit > 0 && limits->version >= 2)
        limits->max_total_memory = static_cast<uint64_t>(2 * limit * megabyte);
#    endif
    limits->max_number_of_tiles = Heif::mostParts;
    limits->max_items = Heif::mostItems;
    limits->max_iloc_extents_per_item = Heif::mostPlaces;
    limits->max_children_per_box = Heif::mostBoxes;
    return true;
#else
    const auto found = Heif::pictureItems(*device, start);
    items = found.value_or(Heif::PictureItems{});
    return found && device->seek(start);
#endif
}

QSize HeifReader::size()
{
    return open() ? sizeOf(*primary) : QSize();
}

QImage::Format HeifReader::imageFormat()
{
    return open() ? layoutOf(*primary, false).format : QImage::Format_Invalid;
}

/// The turns that are left to us: before 1.17 libheif mirrors nothing of more than 8 bits.
std::vector<Heif::Turn> HeifReader::turnsLeft(const heif_image_handle &handle, heif_item_id id) const
{
    const auto found = items.turns.find(id);
    const bool isLeft = found != items.turns.end() && isMirrored(found->second)
                        && heif_image_handle_get_luma_bits_per_pixel(&handle) > 8;
    return isLeft ? found->second : std::vector<Heif::Turn>();
}

/// The picture as it is to be shown.
QImage HeifReader::decode(const heif_image_handle &handle, heif_item_id id, bool forScaling) const
{
    const std::vector<Heif::Turn> turns = turnsLeft(handle, id);
    return turned(decodePicture(handle, forScaling, turns.empty()), turns);
}

QImage HeifReader::readThumbnail(QSize scaled) const
{
    const auto turnedAs = [&](heif_item_id id, heif_item_id other) {
        auto pictures = Heif::pictureItems(*device, start);
        if (!pictures)
            return false;
        // How much of a thumbnail shows that is cut out of a larger one is not to be known.
        const auto &turns = pictures->turns[id];
        return turns == pictures->turns[other]
               && std::none_of(turns.begin(), turns.end(),
                               [](const auto &turn) { return turn.kind == Heif::Turn::Crop; });
    };
    std::vector<heif_item_id> ids(mostThumbnails);
    ids.resize(heif_image_handle_get_list_of_thumbnail_IDs(primary.get(), ids.data(), mostThumbnails));
    for (const heif_item_id id : ids) {
        heif_image_handle *found = nullptr;
        if (!Heif::isOk(heif_image_handle_get_thumbnail(primary.get(), id, &found)))
            continue;
        const Heif::Handle thumbnail(found);
        const QSize size = sizeOf(*thumbnail);
        const bool covers = size.width() >= scaled.width() && size.height() >= scaled.height()
                            && std::max(size.width(), size.height()) >= leastThumbnail;
        const bool alike =
            heif_image_handle_has_alpha_channel(found) == heif_image_handle_has_alpha_channel(primary.get());
        if (!covers || !alike || !sameShape(size, sizeOf(*primary))
            || !Heif::haveSameColours(*found, *primary) || !turnedAs(id, primaryId()))
            continue;
        if (const QImage image = decode(*found, id, true); image.size() == size)
            return image;
    }
    return {};
}

heif_item_id HeifReader::primaryId() const
{
    heif_item_id id = 0;
    heif_context_get_primary_image_ID(context.get(), &id);
    return id;
}

MetadataBlocks HeifReader::metadata()
{
    MetadataBlocks blocks;
    if (!open())
        return blocks;
    std::vector<heif_item_id> ids(mostMetadataBlocks);
    ids.resize(heif_image_handle_get_list_of_metadata_block_IDs(primary.get(), nullptr, ids.data(),
                                                                mostMetadataBlocks));
    for (const heif_item_id id : ids) {
        const QByteArray type = heif_image_handle_get_metadata_type(primary.get(), id);
        const QByteArray content = heif_image_handle_get_metadata_content_type(primary.get(), id);
        const size_t size = heif_image_handle_get_metadata_size(primary.get(), id);
        if (size > mostMetadataBytes || (type != "Exif" && content != "application/rdf+xml"))
            continue;
        QByteArray block(static_cast<qsizetype>(size), 0);
        if (!Heif::isOk(heif_image_handle_get_metadata(primary.get(), id, block.data())))
            continue;
        if (type != "Exif")
            blocks.xmp = block;
        else if (block.size() > 4) // the first four bytes say how many follow before the TIFF header
            blocks.exif = block.mid(4 + qFromBigEndian<quint32>(block.constData()));
    }
    return blocks;
}

QImage HeifReader::read(QSize scaled)
{
    if (!open() || sizeOf(*primary).isEmpty()
        || (!items.largest.isEmpty() && !withinLimit(items.largest, QImage::Format_RGB888)))
        return {};
    try {
        bool scales = !scaled.isEmpty() && scaled != sizeOf(*primary);
        QImage image;
        if (scales)
            image = readThumbnail(scaled);
        std::optional<QImage> shrunk;
        if (image.isNull() && scales && turnsLeft(*primary, primaryId()).empty()
            && withinLimit(sizeOf(*primary), layoutOf(*primary, true).format))
            shrunk = Heif::readShrunk(*primary, scaled);
        if (image.isNull()) {
            image = shrunk ? *shrunk : decode(*primary, primaryId(), scales);
            // Turns before the size in the list of properties have no part in the size that is told.
            scales &= image.size() == sizeOf(*primary);
        }
        if (scales && image.size() != scaled && withinLimit(scaled, image.format()))
            image = image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        image.setColorSpace(Heif::colourSpace(*primary));
        return image;
    } catch (const std::exception &) {
        return {};
    }
}
