#include "shared/image/PackedPng.h"

#include <QtEndian>

#include <algorithm>
#include <utility>

namespace {

constexpr size_t pieceBytes = 1 << 20; // larger ones save nothing worth the memory
constexpr int effort = 6;              // as zlib's usual one, and files are a little smaller
constexpr qint64 signatureBytes = 8;

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

uchar *bytesOf(QByteArray &bytes)
{
    return reinterpret_cast<uchar *>(bytes.data());
}

} // namespace

QByteArray PackedPng::headOf(const QByteArray &ofOnePixel, QSize size)
{
    constexpr qsizetype type = signatureBytes + 4, checksum = behindHeader - 4;
    QByteArray head = ofOnePixel.first(std::max<qsizetype>(ofOnePixel.lastIndexOf("IDAT") - 4, 0));
    if (head.size() < behindHeader)
        return {};
    head.replace(type + 4, 8, bigEndian(size.width()) + bigEndian(size.height()));
    const auto length = static_cast<size_t>(checksum - type);
    return head.replace(checksum, 4, bigEndian(libdeflate_crc32(0, head.constData() + type, length)));
}

PackedPng::PackedPng(QIODevice &device, QByteArray chunksBehindHeader)
    : device(device)
    , inserted(std::move(chunksBehindHeader))
    , packer(libdeflate_alloc_compressor(effort), libdeflate_free_compressor)
{
    piece.resize(pieceBytes);
    unpacking.next_out = piece.data();
    unpacking.avail_out = pieceBytes;
    if (packer && inflateInit(&unpacking) == Z_OK)
        open(WriteOnly | Unbuffered);
}

PackedPng::~PackedPng()
{
    inflateEnd(&unpacking);
}

qint64 PackedPng::writeData(const char *data, qint64 length)
{
    if (failed)
        return length;
    pending.append(data, length);
    failed = !takePending();
    return length;
}

bool PackedPng::pack(const std::vector<uchar> &rows)
{
    for (size_t done = 0; done < rows.size();) {
        if (unpacking.avail_out == 0 && !writePiece(false))
            return false;
        const size_t length = std::min<size_t>(unpacking.avail_out, rows.size() - done);
        std::copy_n(rows.data() + done, length, unpacking.next_out);
        unpacking.next_out += length;
        unpacking.avail_out -= static_cast<uInt>(length);
        done += length;
    }
    return true;
}

bool PackedPng::finish()
{
    return take(QByteArray("\0\0\0\0IEND\xae\x42\x60\x82", 12));
}

/// Takes what chunks are whole by now.
bool PackedPng::takePending()
{
    qsizetype done = 0;
    if (!isBegun && pending.startsWith('\x89')) {
        if (pending.size() < signatureBytes)
            return true;
        done = signatureBytes;
        if (!write(pending.first(done)))
            return false;
    }
    while (pending.size() - done >= 12) {
        const qint64 size = 12 + qint64(qFromBigEndian<quint32>(pending.constData() + done));
        if (size > pending.size() - done)
            break;
        if (!take(pending.sliced(done, size)))
            return false;
        done += size;
    }
    pending.remove(0, done);
    return true;
}

bool PackedPng::write(const QByteArray &bytes)
{
    return device.write(bytes) == bytes.size();
}

bool PackedPng::take(const QByteArray &chunk)
{
    const QByteArray type = chunk.sliced(4, 4);
    if (type == "IDAT")
        return unpack(chunk.sliced(8, chunk.size() - 12));
    if (type == "IEND" && !writePiece(true))
        return false;
    return write(chunk) && (type != "IHDR" || write(std::exchange(inserted, {})));
}

bool PackedPng::unpack(QByteArray data)
{
    unpacking.next_in = bytesOf(data);
    unpacking.avail_in = static_cast<uInt>(data.size());
    while (unpacking.avail_in > 0) {
        if (unpacking.avail_out == 0 && !writePiece(false))
            return false;
        const int result = inflate(&unpacking, Z_NO_FLUSH);
        if (result != Z_OK)
            return result == Z_STREAM_END;
    }
    return true;
}

bool PackedPng::writePiece(bool isLast)
{
    if (!packer) // a writer opens what is closed
        return false;
    const size_t bytes = pieceBytes - unpacking.avail_out;
    checksum = libdeflate_adler32(checksum, piece.data(), bytes);
    QByteArray packed(static_cast<qsizetype>(libdeflate_deflate_compress_bound(packer.get(), bytes)),
                      Qt::Uninitialized);
    packed.resize(static_cast<qsizetype>(libdeflate_deflate_compress(
        packer.get(), piece.data(), bytes, packed.data(), static_cast<size_t>(packed.size()))));
    if (packed.isEmpty() || (!isLast && !goOnBehind(packed)))
        return false;
    unpacking.next_out = piece.data();
    unpacking.avail_out = pieceBytes;
    const QByteArray body = "IDAT" + (isBegun ? QByteArray() : QByteArray("\x78\x9c")) + packed
                            + (isLast ? bigEndian(checksum) : QByteArray());
    isBegun = true;
    return write(bigEndian(static_cast<quint32>(body.size() - 4)) + body
                 + bigEndian(libdeflate_crc32(0, body.constData(), static_cast<size_t>(body.size()))));
}

/// Lets another piece follow one whose last block says that none does, and fills its last byte. Only
/// unpacking tells where that block begins; the piece itself has been packed, and is room for it.
bool PackedPng::goOnBehind(QByteArray &packed)
{
    uchar *const begin = bytesOf(packed);
    z_stream blocks{};
    blocks.next_in = begin;
    blocks.avail_in = static_cast<uInt>(packed.size());
    blocks.next_out = piece.data();
    blocks.avail_out = pieceBytes;
    if (inflateInit2(&blocks, -MAX_WBITS) != Z_OK)
        return false;
    constexpr int atBlock = 128, behindLast = 64, unusedBits = 7; // of zlib's `data_type`
    qsizetype byte = 0;
    int bit = 0;
    int result = Z_OK;
    while ((result = inflate(&blocks, Z_BLOCK)) == Z_OK && (blocks.data_type & behindLast) == 0) {
        if ((blocks.data_type & atBlock) == 0)
            continue;
        const int unused = blocks.data_type & unusedBits;
        byte = blocks.next_in - begin - (unused > 0 ? 1 : 0);
        bit = (8 - unused) % 8;
    }
    const int unused = blocks.data_type & unusedBits;
    inflateEnd(&blocks);
    if (result != Z_OK || blocks.avail_in > 0)
        return false;
    begin[byte] &= static_cast<uchar>(~(1U << bit));
    // An empty block of stored bytes, which begin with a byte of their own behind three bits.
    packed.append(unused < 3 ? QByteArray("\0\0\0\xff\xff", 5) : QByteArray("\0\0\xff\xff", 4));
    return true;
}
