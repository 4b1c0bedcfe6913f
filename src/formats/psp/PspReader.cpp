#include "formats/psp/PspReader.h"
#include "formats/Packing.h"

#include <QBuffer>
#include <QDataStream>
#include <QImageIOHandler>
#include <QImageReader>
#include <QRgba64>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace PspReader {

namespace {

enum BlockId : quint16
{
    General = 0,
    Palette = 2,
    ChannelData = 5,
    Composite = 9,
    CompositeBank = 16,
    CompositeAttributes = 17,
    Preview = 18,
};
enum Compression : quint16
{
    Raw = 0,
    RunLength = 1,
    Zip = 2
};

constexpr int blockHeaderLength = 10;
constexpr QByteArrayView magic("Paint Shop Pro Image File\n\x1a\0\0\0\0\0", 32);

/// How the samples of a picture are stored.
struct Attributes
{
    QSize size;
    int depth = 0; ///< bits a pixel
    Compression compression = Raw;

    int sampleBits() const { return depth == 48 ? 16 : depth == 24 ? 8 : depth; }
};

struct Block
{
    quint16 id = 0;
    quint32 length = 0;
};

std::optional<Block> blockHeader(QByteArrayView bytes)
{
    if (bytes.size() < blockHeaderLength || !bytes.startsWith(QByteArrayView("~BK\0", 4)))
        return {};
    return Block{qFromLittleEndian<quint16>(bytes.data() + 4), qFromLittleEndian<quint32>(bytes.data() + 6)};
}

/// Hands each block in `bytes` on, the last one as far as it is there.
template <typename Visitor>
void forEachBlock(QByteArrayView bytes, Visitor visit)
{
    while (const std::optional<Block> block = blockHeader(bytes)) {
        bytes = bytes.sliced(blockHeaderLength);
        const qsizetype length = std::min<qsizetype>(block->length, bytes.size());
        visit(block->id, bytes.first(length));
        bytes = bytes.sliced(length);
    }
}

/// Little-endian numbers of a fixed layout; 0 beyond the end.
template <typename Number>
Number numberAt(QByteArrayView bytes, qsizetype offset)
{
    const bool there = bytes.size() >= offset + static_cast<qsizetype>(sizeof(Number));
    return there ? qFromLittleEndian<Number>(bytes.data() + offset) : Number(0);
}

/// What follows the fixed fields that begin with their own length.
QByteArrayView behindFields(QByteArrayView block)
{
    return block.sliced(std::min<qsizetype>(numberAt<quint32>(block, 0), block.size()));
}

QByteArray unpackedRuns(QByteArrayView packed, qsizetype most)
{
    QByteArray data;
    data.reserve(std::min(most, packed.size() * 64));
    for (qsizetype at = 0; at + 1 < packed.size() && data.size() < most;) {
        const auto code = static_cast<uchar>(packed[at++]);
        if (code > 128) {
            data.append(code - 128, packed[at++]);
            continue;
        }
        const qsizetype count = std::min<qsizetype>(code, packed.size() - at);
        data.append(packed.sliced(at, count));
        at += count;
    }
    return data;
}

/// One channel's samples, row by row. Not all versions fill rows up to four bytes.
class Plane
{
public:
    Plane() = default;
    Plane(QByteArrayView block, const Attributes &attributes)
    {
        const qsizetype height = attributes.size.height();
        const qsizetype bits = static_cast<qsizetype>(attributes.size.width()) * attributes.sampleBits();
        const qsizetype padded = (bits + 31) / 32 * 4;
        const bool isPadded = numberAt<quint32>(block, 8) >= padded * height;
        stride = isPadded ? padded : (bits + 7) / 8;
        const QByteArrayView stored = behindFields(block);
        const QByteArrayView packed =
            stored.first(std::min<qsizetype>(numberAt<quint32>(block, 4), stored.size()));
        if (attributes.compression == Raw)
            data = packed.first(std::min(packed.size(), stride * height)).toByteArray();
        else if (attributes.compression == RunLength)
            data = unpackedRuns(packed, stride * height);
        else
            data = Packing::inflated(packed, stride * height);
        complete = data.size() >= stride * height;
    }

    bool isComplete() const { return complete; }

    /// A sample of 1, 4, 8 or 16 bits.
    int sample(int x, int y, int bits) const
    {
        const char *const row = data.constData() + y * stride;
        if (bits == 16)
            return qFromLittleEndian<quint16>(row + 2 * x);
        const int perByte = 8 / bits;
        return static_cast<uchar>(row[x / perByte]) >> (8 - bits - x % perByte * bits) & ((1 << bits) - 1);
    }

private:
    QByteArray data;
    qsizetype stride = 0;
    bool complete = false;
};

QList<QRgb> colourTable(QByteArrayView block)
{
    const QByteArrayView entries = behindFields(block);
    QList<QRgb> table;
    for (qsizetype i = 0; i + 4 <= entries.size() && table.size() < 256; i += 4)
        table.append(0xff000000 | numberAt<quint32>(entries, i)); // blue, green, red, nothing
    return table;
}

QImage readComposite(QByteArrayView block, const Attributes &attributes)
{
    const int bits = attributes.sampleBits();
    if (attributes.size.isEmpty() || attributes.compression > Zip
        || (bits != 1 && bits != 4 && bits != 8 && bits != 16))
        return {};
    const qsizetype pixels = static_cast<qsizetype>(attributes.size.width()) * attributes.size.height();
    constexpr qsizetype highestRatio = 1032;
    if (block.size() * highestRatio < pixels * bits / 8)
        return {};
    const auto format = bits == 16 ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    QImage image;
    if (!QImageIOHandler::allocateImage(attributes.size, format, &image))
        return {};

    constexpr quint16 Single = 0, Red = 1, Green = 2, Blue = 3, Mask = 4; // as the file counts channels
    int maskBits = 8;
    std::array<std::optional<Plane>, 5> found; // the first of each, or unpacking would have no end
    QList<QRgb> table;
    forEachBlock(behindFields(block), [&](quint16 id, QByteArrayView content) {
        if (id == Palette)
            table = colourTable(content);
        if (id != ChannelData)
            return;
        const auto bitmap = numberAt<quint16>(content, 12);
        const auto channel = numberAt<quint16>(content, 14);
        const bool isMask = bitmap == 9;
        if ((!isMask && bitmap != 0 && bitmap != 8) || channel > Blue)
            return;
        std::optional<Plane> &plane = found[isMask ? Mask : channel];
        if (plane)
            return;
        Attributes stored = attributes;
        if (isMask) { // of 8 bits even where the pixels have fewer, and perhaps where they have 16
            maskBits = bits == 16 && numberAt<quint32>(content, 8) >= 2 * pixels ? 16 : 8;
            stored.depth = maskBits;
        }
        plane = Plane(content, stored);
    });
    std::array<Plane, 5> planes;
    std::transform(found.begin(), found.end(), planes.begin(),
                   [](std::optional<Plane> &plane) { return plane ? std::move(*plane) : Plane(); });
    const bool isColour = planes[Red].isComplete() && planes[Green].isComplete() && planes[Blue].isComplete();
    if (!isColour && !planes[Single].isComplete())
        return {};
    const bool hasMask = planes[Mask].isComplete();

    const auto wide = [bits](int sample) {
        return static_cast<quint16>(sample * qint64(65535) / ((1 << bits) - 1));
    };
    const auto colourAt = [&](int x, int y) {
        if (isColour)
            return QRgba64::fromRgba64(wide(planes[Red].sample(x, y, bits)),
                                       wide(planes[Green].sample(x, y, bits)),
                                       wide(planes[Blue].sample(x, y, bits)), 65535);
        const int index = planes[Single].sample(x, y, bits);
        if (index < table.size())
            return QRgba64::fromArgb32(table[index]);
        const quint16 grey = table.isEmpty() ? wide(index) : quint16(0);
        return QRgba64::fromRgba64(grey, grey, grey, 65535);
    };
    for (int y = 0; y < image.height(); ++y) {
        uchar *const line = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            QRgba64 colour = colourAt(x, y);
            if (hasMask)
                colour.setAlpha(
                    static_cast<quint16>(planes[Mask].sample(x, y, maskBits) * (maskBits == 8 ? 257 : 1)));
            if (bits == 16)
                reinterpret_cast<QRgba64 *>(line)[x] = colour;
            else
                reinterpret_cast<QRgb *>(line)[x] = colour.toArgb32();
        }
    }
    if (!hasMask)
        image.reinterpretAsFormat(bits == 16 ? QImage::Format_RGBX64 : QImage::Format_RGB32);
    return image;
}

/// The preview, brought to the picture's size. One that is much smaller, or larger, is not of this picture.
QImage readPreview(QByteArrayView block, QSize size)
{
    constexpr int mostTimesLarger = 64; // in each direction
    QByteArray bytes = behindFields(block).toByteArray();
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, "jpeg");
    const QSize stored = reader.size();
    if (stored.isEmpty() || stored.width() > size.width() || stored.height() > size.height()
        || stored.width() * mostTimesLarger < size.width()
        || stored.height() * mostTimesLarger < size.height())
        return {};
    QImage scaled;
    if (!QImageIOHandler::allocateImage(size, QImage::Format_RGB32, &scaled))
        return {};
    const QImage preview = reader.read();
    return preview.size() == size ? preview
                                  : preview.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// Up to `most` bytes of the first block of an id, where the device stands before a block.
QByteArray findBlock(QIODevice &device, quint16 id, qint64 most)
{
    while (const std::optional<Block> block = blockHeader(device.read(blockHeaderLength))) {
        if (block->id == id)
            return Packing::readAtMost(device, std::min<qint64>(block->length, most));
        if (device.skip(block->length) != block->length)
            break;
    }
    return {};
}

} // namespace

std::optional<Header> header(const QByteArray &bytes)
{
    constexpr int longest = 100000;
    if (bytes.size() < headerLength || !bytes.startsWith(magic) || numberAt<quint16>(bytes, 32) < 4)
        return {};
    const std::optional<Block> block = blockHeader(QByteArrayView(bytes).sliced(36));
    const QSize size(numberAt<qint32>(bytes, 50), numberAt<qint32>(bytes, 54));
    if (!block || block->id != General || size.isEmpty() || size.width() > longest || size.height() > longest)
        return {};
    return Header{size};
}

QImage read(QIODevice &device)
{
    const QByteArray start = device.read(headerLength);
    const std::optional<Header> header = PspReader::header(start);
    QImage room; // is there memory for a picture of that size?
    if (!header || !QImageIOHandler::allocateImage(header->size, QImage::Format_RGB32, &room))
        return {};
    const qint64 mostPacked = 2 * room.sizeInBytes() + (64 << 20);
    room = QImage();
    const qint64 attributesEnd =
        46 + static_cast<qint64>(blockHeader(QByteArrayView(start).sliced(36))->length);
    device.skip(std::max<qint64>(attributesEnd - headerLength, 0));
    const QByteArray bank = findBlock(device, CompositeBank, mostPacked);

    QList<Attributes> attributes; // all come first, one for each picture
    qsizetype pictures = 0;
    Attributes compositeAttributes;
    QByteArrayView composite;
    QByteArrayView preview;
    forEachBlock(behindFields(bank), [&](quint16 id, QByteArrayView block) {
        if (id == CompositeAttributes)
            attributes.append({QSize(numberAt<qint32>(block, 4), numberAt<qint32>(block, 8)),
                               numberAt<quint16>(block, 12),
                               static_cast<Compression>(numberAt<quint16>(block, 14))});
        if (id != Preview && id != Composite)
            return;
        const Attributes stored = attributes.value(pictures++);
        if (id == Preview) {
            preview = block;
        } else if (stored.size == header->size) {
            compositeAttributes = stored;
            composite = block;
        }
    });
    const QImage image = readComposite(composite, compositeAttributes);
    return image.isNull() ? readPreview(preview, header->size) : image;
}

} // namespace PspReader
