#include "shared/image/MetadataFile.h"

#include <QIODevice>
#include <QList>
#include <QtEndian>

#include <exiv2/exiv2.hpp>

#include <mutex>

namespace {

constexpr qint64 mostMetadata = 16 * 1024 * 1024;
constexpr qint64 mostOfExif = 256 * 1024; ///< with its preview, or in the digits of a text
constexpr qint64 mostOfChunk = 1024 * 1024;
constexpr int mostChunks = 100'000;

const QByteArray pngSignature("\x89PNG\r\n\x1a\n");
const QByteArray pngEnd("\0\0\0\0IEND\xae\x42\x60\x82", 12);

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// How a format divides its files into chunks: a head, then the data, padded.
struct ChunkLayout
{
    bool lengthFirst; ///< big-endian, before the type; otherwise behind it and little-endian
    qint64 trailer;   ///< bytes after the data: a checksum
    qint64 alignment; ///< bytes
    QList<QByteArray> metadata;
};

/// The chunks that may hold metadata, and nothing of the pixels.
QByteArray metadataChunks(QIODevice &file, const ChunkLayout &layout, qint64 mostOfOne)
{
    QByteArray kept;
    for (int chunk = 0; chunk < mostChunks; ++chunk) {
        const QByteArray head = file.read(8);
        if (head.size() < 8)
            break;
        const char *const length = head.constData() + (layout.lengthFirst ? 0 : 4);
        const qint64 stated =
            layout.lengthFirst ? qFromBigEndian<quint32>(length) : qFromLittleEndian<quint32>(length);
        const qint64 bytes =
            (stated + layout.alignment - 1) / layout.alignment * layout.alignment + layout.trailer;
        const bool isKept = layout.metadata.contains(head.mid(layout.lengthFirst ? 4 : 0, 4))
                            && bytes <= mostOfOne && kept.size() + bytes <= mostMetadata;
        const QByteArray data = isKept ? file.read(bytes) : QByteArray();
        const qint64 got = isKept ? data.size() : file.skip(bytes);
        if (got < stated + layout.trailer) // cut off; only the padding may be missing
            break;
        if (isKept)
            kept += head + data;
    }
    return kept;
}

/// A PSD file's header, and of its resources those that hold metadata.
QByteArray psdResources(QIODevice &file)
{
    const QByteArray header = file.read(26);
    const auto number = [&file] {
        return qFromBigEndian<quint32>(file.read(4).leftJustified(4, 0).constData());
    };
    const quint32 palette = number();
    if (file.skip(palette) != palette)
        return {};
    const quint32 resources = number();
    const qint64 end = file.pos() + resources;
    QByteArray kept;
    for (int resource = 0; resource < mostChunks && file.pos() < end; ++resource) {
        QByteArray head = file.read(7); // signature, number, and the length of a name
        if (head.size() < 7 || !head.startsWith("8BIM"))
            break;
        const qint64 name = static_cast<uchar>(head[6]) | 1; // padded
        head += file.read(name);
        const quint32 length = number();
        const qint64 bytes = length + length % 2LL;
        const auto id = qFromBigEndian<quint16>(head.constData() + 4);
        const bool isKept = (id == 1028 || id == 1058 || id == 1060) // IPTC, EXIF, XMP
                            && bytes <= mostOfChunk && kept.size() + bytes <= mostMetadata;
        const QByteArray data = isKept ? file.read(bytes) : QByteArray();
        if ((isKept ? data.size() : file.skip(bytes)) < length)
            break;
        if (isKept)
            kept += head + bigEndian(length) + data;
    }
    return header + bigEndian(0) + bigEndian(static_cast<quint32>(kept.size())) + kept;
}

/// The XMP part of the library is thread-safe only behind a lock of ours.
void lockXmp(void *mutex, bool lock)
{
    auto *const xmpMutex = static_cast<std::recursive_mutex *>(mutex);
    lock ? xmpMutex->lock() : xmpMutex->unlock();
}

} // namespace

QByteArray MetadataFile::withoutPixels(QIODevice &file, Wanted wanted)
{
    const bool all = wanted == Wanted::All;
    const qint64 mostOfOne = all ? mostOfChunk : mostOfExif;
    const QByteArray start = file.read(8);
    if (start == pngSignature) {
        const QList<QByteArray> types = {"IHDR", "eXIf", "tEXt", "zTXt", all ? "iTXt" : "eXIf"};
        return start + metadataChunks(file, {true, 4, 1, types}, mostOfOne) + pngEnd;
    }
    if (start.startsWith("8BPS") && file.seek(0))
        return psdResources(file);
    const QByteArray form = file.read(4);
    if (!start.startsWith("RIFF") || form != "WEBP")
        return {};
    const QList<QByteArray> types = {"VP8X", "EXIF", all ? "XMP " : "EXIF"};
    const QByteArray chunks = form + metadataChunks(file, {false, 0, 2, types}, mostOfOne);
    QByteArray length(4, 0);
    qToLittleEndian(static_cast<quint32>(chunks.size()), length.data());
    return "RIFF" + length + chunks;
}

void MetadataFile::prepareLibrary()
{
    static std::recursive_mutex xmpMutex;
    static std::once_flag prepared;
    std::call_once(prepared, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(lockXmp, &xmpMutex);
    });
}
