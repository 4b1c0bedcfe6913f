#include "shared/image/MetadataFile.h"

#include <QIODevice>
#include <QList>
#include <QtEndian>

#include <exiv2/exiv2.hpp>

#include <mutex>

namespace {

constexpr qint64 mostMetadata = 16 * 1024 * 1024;
constexpr int mostChunks = 100'000;

const QByteArray pngSignature("\x89PNG\r\n\x1a\n");

/// How a format divides its files into chunks: a head, then the data, padded.
struct ChunkLayout
{
    bool lengthFirst; ///< big-endian, before the type; otherwise behind it and little-endian
    qint64 trailer;   ///< bytes after the data: a checksum
    qint64 alignment; ///< bytes
    QList<QByteArray> metadata;
};

/// The chunks that may hold metadata, and nothing of the pixels.
QByteArray metadataChunks(QIODevice &file, const ChunkLayout &layout)
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
        if (!layout.metadata.contains(head.mid(layout.lengthFirst ? 4 : 0, 4))) {
            if (file.skip(bytes) < bytes)
                break;
        } else if (kept.size() + bytes <= mostMetadata) {
            kept += head + file.read(bytes);
        } else {
            break;
        }
    }
    return kept;
}

/// The XMP part of the library is thread-safe only behind a lock of ours.
void lockXmp(void *mutex, bool lock)
{
    auto *const xmpMutex = static_cast<std::recursive_mutex *>(mutex);
    lock ? xmpMutex->lock() : xmpMutex->unlock();
}

} // namespace

QByteArray MetadataFile::withoutPixels(QIODevice &file)
{
    const QByteArray start = file.read(8);
    if (start == pngSignature)
        return start + metadataChunks(file, {true, 4, 1, {"IHDR", "eXIf", "tEXt", "zTXt", "iTXt", "IEND"}});
    const QByteArray form = file.read(4);
    if (!start.startsWith("RIFF") || form != "WEBP")
        return {};
    const QByteArray chunks = form + metadataChunks(file, {false, 0, 2, {"VP8X", "EXIF", "XMP "}});
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
