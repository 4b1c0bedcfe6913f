#include "shared/image/ShrunkPng.h"

#include "shared/image/BoxMeans.h"
#include "shared/platform/Platform.h"

#include <QIODevice>
#include <QtEndian>

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <vector>

namespace {

constexpr size_t mostBytes = 256 << 20;     ///< of unpacked rows
constexpr qint64 mostOther = 8'000'000;     ///< bytes of all other chunks; libpng takes so many of each
constexpr size_t worthLargePages = 4 << 20; ///< bytes, which are no part of the heap's
constexpr int mostPixelsOfSide = 1'000'000; ///< which libpng takes
// Newer plug-ins weigh colours by their alpha, and round those without to the nearest.
constexpr bool takesAlpha = QT_VERSION < QT_VERSION_CHECK(6, 5, 0);
const QByteArray signature("\x89PNG\r\n\x1a\n", 8);

quint32 checksumOf(const QByteArray &bytes)
{
    return libdeflate_crc32(0, bytes.constData(), static_cast<size_t>(bytes.size()));
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    const QByteArray body = type + data;
    return bigEndian(static_cast<quint32>(data.size())) + body + bigEndian(checksumOf(body));
}

/// A picture as its header tells it.
struct Header
{
    QSize size;
    int channels; ///< of a byte each
    size_t bytes; ///< of the rows, each behind the number of its filter
};

/// The header of a picture that is for us.
std::optional<Header> headerOf(const QByteArray &data)
{
    constexpr std::array channels{
        0, 0, 3, 0, takesAlpha ? 2 : 0, 0, takesAlpha ? 4 : 0}; // of each type of colours
    const auto type = static_cast<uchar>(data.size() == 13 ? data[9] : 0);
    if (type >= channels.size() || channels[type] == 0 || data[8] != 8
        || !data.endsWith(QByteArray("\0\0\0", 3))) // the usual packing and filters, not interlaced
        return {};
    const auto width = qFromBigEndian<quint32>(data.constData());
    const auto height = qFromBigEndian<quint32>(data.constData() + 4);
    if (std::min(width, height) < 1 || std::max(width, height) > mostPixelsOfSide)
        return {};
    const size_t bytes = (size_t(width) * channels[type] + 1) * height;
    if (bytes > mostBytes)
        return {};
    return Header{QSize(static_cast<int>(width), static_cast<int>(height)), channels[type], bytes};
}

/// Memory that will be filled at once.
class Buffer
{
public:
    explicit Buffer(size_t size)
        : size(size)
        , bytes(std::make_unique_for_overwrite<uchar[]>(size))
    {
        if (size >= worthLargePages)
            Platform::useLargePages(bytes.get(), size);
    }
    uchar *begin() const { return bytes.get(); }
    uchar *end() const { return bytes.get() + size; }

    size_t size;

private:
    std::unique_ptr<uchar[]> bytes;
};

/// What a file consists of.
struct Parts
{
    QByteArray header; ///< data of its chunk
    QByteArray before; ///< chunks between the header and the pixels
    Buffer pixels;     ///< packed
    QByteArray after;  ///< chunks behind them
};

/// The parts of a file whose pixels lie in one run of sound chunks.
std::optional<Parts> partsOf(QIODevice &file)
{
    if (file.read(signature.size()) != signature)
        return {};
    qint64 left = file.size();
    Parts parts{{}, {}, Buffer(static_cast<size_t>(left)), {}};
    size_t packed = 0;
    bool isBehindPixels = false;
    qint64 other = 0;
    for (bool isFirst = true;; isFirst = false) {
        QByteArray chunk = file.read(8);
        const qint64 size = chunk.size() == 8 ? qFromBigEndian<quint32>(chunk.constData()) : left;
        left -= 12 + size; // the file may grow meanwhile, the room for it does not
        if (left < 0)
            return {};
        const QByteArray type = chunk.sliced(4);
        const bool isPixels = type == "IDAT";
        if ((type == "IHDR") != isFirst || type == "tRNS" || (isPixels && !parts.after.isEmpty()))
            return {};
        if (isPixels) {
            isBehindPixels = true;
            uchar *const data = parts.pixels.begin() + packed;
            const bool isRead = file.read(reinterpret_cast<char *>(data), size) == size;
            const quint32 sum = libdeflate_crc32(checksumOf(type), data, static_cast<size_t>(size));
            if (!isRead || file.read(4) != bigEndian(sum))
                return {};
            packed += static_cast<size_t>(size);
            continue;
        }
        other += size;
        if (other > mostOther)
            return {};
        chunk += file.read(size + 4);
        if (chunk.size() != 12 + size)
            return {};
        if (isFirst) {
            parts.header = chunk.sliced(8, size);
            if (chunk.last(4) != bigEndian(checksumOf(type + parts.header)) || !headerOf(parts.header))
                return {};
        } else {
            (isBehindPixels ? parts.after : parts.before) += chunk;
        }
        if (type == "IEND") {
            parts.pixels.size = packed;
            return parts;
        }
    }
}

/// All of a stream that holds so many bytes, no more and no less.
std::optional<Buffer> inflated(const Buffer &packed, size_t size)
{
    // libpng holds the stream to the window that it claims, libdeflate does not: only the largest is for us.
    if (packed.size == 0 || *packed.begin() != 0x78)
        return {};
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor(
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    if (!decompressor)
        throw std::bad_alloc();
    Buffer bytes(size);
    size_t taken = 0;
    const libdeflate_result result = libdeflate_zlib_decompress_ex(
        decompressor.get(), packed.begin(), packed.size, bytes.begin(), size, &taken, nullptr);
    if (result != LIBDEFLATE_SUCCESS || taken != packed.size)
        return {};
    return bytes;
}

QByteArray stored(const QByteArray &bytes)
{
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(0), libdeflate_free_compressor);
    if (!compressor)
        throw std::bad_alloc();
    const auto size = static_cast<size_t>(bytes.size());
    QByteArray packed(static_cast<qsizetype>(libdeflate_zlib_compress_bound(compressor.get(), size)),
                      Qt::Uninitialized);
    packed.truncate(static_cast<qsizetype>(libdeflate_zlib_compress(
        compressor.get(), bytes.constData(), size, packed.data(), static_cast<size_t>(packed.size()))));
    return packed;
}

/// Adds to each byte of a row what `predict` makes of those to the left, above, and above to the left.
template <int Channels, typename Predict>
void addPredicted(uchar *row, const uchar *above, size_t length, const Predict &predict)
{
    using Pixel = std::array<qint16, 4>; // which the compiler computes at once
    Pixel left{};
    Pixel corner{};
    for (size_t at = 0; at < length; at += Channels) {
        Pixel up{};
        Pixel sum{};
        for (size_t i = 0; i < Channels; ++i) {
            up[i] = above[at + i];
            sum[i] = row[at + i];
        }
        for (size_t i = 0; i < sum.size(); ++i)
            sum[i] = static_cast<uchar>(sum[i] + predict(left[i], up[i], corner[i]));
        for (size_t i = 0; i < Channels; ++i)
            row[at + i] = static_cast<uchar>(sum[i]);
        left = sum;
        corner = up;
    }
}

qint16 nearest(qint16 left, qint16 up, qint16 corner)
{
    const auto toLeft = static_cast<qint16>(std::abs(up - corner));
    const auto toUp = static_cast<qint16>(std::abs(left - corner));
    const auto toCorner = static_cast<qint16>(std::abs(left + up - 2 * corner));
    const qint16 other = toUp < toLeft ? up : left;
    return toCorner < std::min(toLeft, toUp) ? corner : other;
}

/// Undoes the filter that a row was packed with. False if there is none of that number.
template <int Channels>
bool unfilter(int filter, uchar *row, const uchar *above, size_t length)
{
    const auto add = [&](const auto &predict) { addPredicted<Channels>(row, above, length, predict); };
    switch (filter) {
    case 0:
        return true;
    case 1:
        add([](int left, int, int) { return left; });
        return true;
    case 2:
        std::transform(row, row + length, above, row,
                       [](uchar byte, uchar up) { return static_cast<uchar>(byte + up); });
        return true;
    case 3:
        add([](int left, int up, int) { return (left + up) / 2; });
        return true;
    case 4:
        add(nearest);
        return true;
    default:
        return false;
    }
}

/// The smaller picture's rows, each behind the number of its filter; empty if one has an unknown filter.
QByteArray shrunkRows(const Buffer &rows, const Header &header, QSize size)
{
    const auto unfilterRow = header.channels == 2   ? unfilter<2>
                             : header.channels == 3 ? unfilter<3>
                                                    : unfilter<4>;
    const size_t length = static_cast<size_t>(header.size.width()) * header.channels;
    const std::vector<uchar> nothing(length);
    const uchar *above = nothing.data();
    const qsizetype smaller = qsizetype(size.width()) * header.channels;
    BoxMeans<uchar> means(header.size, size, header.channels);
    QByteArray pixels;
    for (uchar *row = rows.begin(); row < rows.end(); row += 1 + length) {
        if (!unfilterRow(row[0], row + 1, above, length))
            return {};
        means.take(row + 1, [&](const uchar *mean) {
            pixels += '\0';
            pixels.append(reinterpret_cast<const char *>(mean), smaller);
        });
        above = row + 1;
    }
    return pixels;
}

} // namespace

QByteArray shrunkPng(QIODevice &file, QSize size)
try {
    const std::optional<Parts> parts = partsOf(file);
    const std::optional<Header> header = parts ? headerOf(parts->header) : std::nullopt;
    if (!header || size.isEmpty() || size.boundedTo(header->size) != size)
        return {};
    const std::optional<Buffer> rows = inflated(parts->pixels, header->bytes);
    const QByteArray shrunk = rows ? shrunkRows(*rows, *header, size) : QByteArray();
    if (shrunk.isEmpty())
        return {};
    const QByteArray sides =
        bigEndian(static_cast<quint32>(size.width())) + bigEndian(static_cast<quint32>(size.height()));
    return signature + chunk("IHDR", sides + parts->header.sliced(sides.size())) + parts->before
           + chunk("IDAT", stored(shrunk)) + parts->after;
} catch (const std::bad_alloc &) { // the plug-in takes far less
    return {};
}
