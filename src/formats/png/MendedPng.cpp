#include "formats/png/MendedPng.h"

#include "formats/Packing.h"

#include <QImageReader>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <limits>

#include <zlib.h>

namespace {

constexpr qint64 megabyte = 1024 * 1024;
constexpr qint64 mostBytes = std::numeric_limits<int>::max() - megabyte; ///< of pixels, and of the file
const QByteArray signature("\x89PNG\r\n\x1a\n", 8);

struct Header
{
    qint64 width = 0;
    qint64 height = 0;
    int bitsPerPixel = 0; ///< 0: there is no such picture
    bool isInterlaced = false;
};

Header headerOf(const QByteArray &chunk)
{
    constexpr int channels[] = {1, 0, 3, 1, 2, 0, 4}; // of each type of colours
    if (chunk.size() != 13)
        return {};
    const auto type = static_cast<uchar>(chunk[9]);
    return {qFromBigEndian<quint32>(chunk.constData()), qFromBigEndian<quint32>(chunk.constData() + 4),
            type < std::size(channels) ? channels[type] * chunk[8] : 0, chunk[12] != 0};
}

/// Bytes of the filtered rows, each behind the number of its filter. -1 if they are above the limit.
qint64 bytesOfRows(const Header &header)
{
    const qint64 limit = QImageReader::allocationLimit();
    if (header.width < 1 || header.height < 1 || header.bitsPerPixel < 1 || header.bitsPerPixel > 64
        || header.width > mostBytes || header.height > mostBytes / header.width / 8
        || (limit > 0 && 4 * header.width * header.height > limit * megabyte))
        return -1;
    const auto bytes = [&](qint64 width, qint64 height) {
        return width > 0 ? height * ((width * header.bitsPerPixel + 7) / 8 + 1) : 0;
    };
    if (!header.isInterlaced)
        return bytes(header.width, header.height);
    constexpr struct
    {
        int left, top, across, down;
    } passes[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                  {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    qint64 sum = 0;
    for (const auto &pass : passes)
        sum += bytes((header.width - pass.left + pass.across - 1) / pass.across,
                     std::max<qint64>((header.height - pass.top + pass.down - 1) / pass.down, 0));
    return sum;
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

quint32 checksum(const QByteArray &bytes)
{
    return static_cast<quint32>(
        crc32(0, reinterpret_cast<const Bytef *>(bytes.constData()), static_cast<uInt>(bytes.size())));
}

void append(QByteArray &file, const QByteArray &typeAndData)
{
    file += bigEndian(static_cast<quint32>(typeAndData.size() - 4));
    file += typeAndData;
    file += bigEndian(checksum(typeAndData));
}

/// Packs rows into chunks of a bounded size: a stream of one piece would take twice its bytes.
void appendPacked(QByteArray &file, QByteArray &rows)
{
    constexpr int most = 1 << 20;
    z_stream stream{};
    if (deflateInit(&stream, 1) != Z_OK)
        return;
    stream.next_in = reinterpret_cast<Bytef *>(rows.data());
    stream.avail_in = static_cast<uInt>(rows.size());
    for (int state = Z_OK; state == Z_OK;) {
        QByteArray chunk = QByteArray("IDAT").leftJustified(4 + most);
        stream.next_out = reinterpret_cast<Bytef *>(chunk.data() + 4);
        stream.avail_out = most;
        state = deflate(&stream, Z_FINISH);
        chunk.chop(stream.avail_out);
        append(file, chunk);
    }
    deflateEnd(&stream);
}

bool isLetter(char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

} // namespace

QByteArray mendedPng(QIODevice &device)
{
    QByteArray file = Packing::readAtMost(device, mostBytes);
    if (!file.startsWith(signature))
        return {};
    QByteArray mended = signature;
    QByteArray packed;
    qint64 rowBytes = -1;
    for (qsizetype at = signature.size(); at + 8 < file.size();) {
        const qsizetype length = qFromBigEndian<quint32>(file.constData() + at);
        // Its type and what there is of it.
        const auto chunk =
            QByteArray::fromRawData(file.constData() + at + 4, std::min(length + 4, file.size() - at - 4));
        const QByteArray type = chunk.left(4);
        if (!std::all_of(type.begin(), type.end(), isLetter) || type == "IEND")
            break;
        at += 12 + length;
        const bool isSound =
            at <= file.size() && checksum(chunk) == qFromBigEndian<quint32>(file.constData() + at - 4);
        if (type == "IDAT")
            packed.append(chunk.constData() + 4, chunk.size() - 4);
        else if (isSound && packed.isEmpty())
            append(mended, chunk);
        if (type == "IHDR" && rowBytes < 0)
            rowBytes = bytesOfRows(headerOf(chunk.mid(4)));
    }
    if (rowBytes < 0)
        return {};
    QByteArray rows = Packing::inflated(packed, rowBytes);
    if (rows.isEmpty())
        return {};
    file = packed = {};
    rows.resize(rowBytes, '\0');
    appendPacked(mended, rows);
    append(mended, "IEND");
    return mended;
}
