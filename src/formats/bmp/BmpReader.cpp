#include "formats/bmp/BmpReader.h"

#include "formats/Packing.h"

#include <QColorSpace>
#include <QImageIOHandler>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

namespace {

constexpr qint64 fileHeaderBytes = 14;
constexpr uint32_t mostHeaderBytes = 124;
constexpr int longestSide = 1 << 20;
constexpr qint64 mostProfileBytes = 16 << 20;

// How the pixels are stored. 3 and 4 have another meaning with the headers of OS/2.
constexpr uint32_t plain = 0;
constexpr uint32_t runs8 = 1;
constexpr uint32_t runs4 = 2;
constexpr uint32_t masks = 3;
constexpr uint32_t jpegInside = 4;
constexpr uint32_t pngInside = 5;
constexpr uint32_t masksWithAlpha = 6;
constexpr uint32_t huffman = 100; // 3 of OS/2
constexpr uint32_t runs24 = 101;  // 4 of OS/2

template <typename Number>
Number numberAt(const QByteArray &bytes, qsizetype at)
{
    return at + qsizetype(sizeof(Number)) <= bytes.size() ? qFromLittleEndian<Number>(bytes.constData() + at)
                                                          : Number(0);
}

bool isRuns(uint32_t compression)
{
    return compression == runs8 || compression == runs4 || compression == runs24;
}

/// OS/2's second header, which may be cut after any field; those of Windows have lengths of their own.
bool isOs2(uint32_t headerBytes)
{
    return headerBytes == 64 || (headerBytes < 52 && headerBytes != 40);
}

} // namespace

QByteArray BmpReader::format(QIODevice &device)
{
    return device.peek(2) == "BM" ? "orrelan-bmp" : QByteArray();
}

BmpReader::BmpReader(QIODevice &device)
    : device(&device)
    , start(device.pos())
{
    if (!readHeader() || !isOfKnownKind())
        pixels = QSize();
}

bool BmpReader::readHeader()
{
    const QByteArray file = device->read(fileHeaderBytes + 4);
    const auto headerBytes = numberAt<uint32_t>(file, fileHeaderBytes);
    if (!file.startsWith("BM") || headerBytes < 12 || headerBytes > mostHeaderBytes)
        return false;
    // With the masks that may stand behind it, and counted from the field that says its length.
    const QByteArray header = file.last(4) + device->read(headerBytes - 4 + 16);
    const bool isCore = headerBytes == 12;
    qint64 width = numberAt<int32_t>(header, 4);
    qint64 height = numberAt<int32_t>(header, 8);
    if (isCore) {
        width = numberAt<uint16_t>(header, 4);
        height = numberAt<uint16_t>(header, 6);
    }
    bits = numberAt<uint16_t>(header, isCore ? 10 : 14);
    isTopDown = height < 0;
    if (width < 1 || width > longestSide || height == 0 || std::abs(height) > longestSide)
        return false;
    pixels = QSize(static_cast<int>(width), static_cast<int>(std::abs(height)));

    qint64 end = fileHeaderBytes + headerBytes;
    const QByteArray fields = isCore ? QByteArray() : header.left(headerBytes);
    compression = numberAt<uint32_t>(fields, 16);
    if (isOs2(headerBytes) && (compression == 3 || compression == 4))
        compression = compression == 3 ? huffman : runs24;
    dotsPerMetreX = numberAt<int32_t>(fields, 24);
    dotsPerMetreY = numberAt<int32_t>(fields, 28);
    if (numberAt<uint32_t>(fields, 56) == 0x4D424544) { // "MBED": a profile in the file
        profileOffset = fileHeaderBytes + numberAt<uint32_t>(fields, 112);
        profileBytes = numberAt<uint32_t>(fields, 116);
    }
    if (headerBytes == 40 && compression == masks)
        end += 12;
    else if (headerBytes == 40 && compression == masksWithAlpha)
        end += 16;
    readMasks(header.left(end - fileHeaderBytes));

    dataOffset = numberAt<uint32_t>(file, 10);
    const qint64 entryBytes = isCore ? 3 : 4;
    const qint64 named = numberAt<uint32_t>(fields, 32);
    qint64 entries = bits > 8 ? 0 : std::min<qint64>(named ? named : 256, 1LL << bits);
    if (dataOffset >= end)
        entries = std::min(entries, (dataOffset - end) / entryBytes);
    else
        dataOffset = end + entries * entryBytes;
    if (!device->seek(start + end))
        return false;
    const QByteArray table = device->read(entries * entryBytes);
    palette.resize(bits <= 8 ? 1 << bits : 0, qRgb(0, 0, 0));
    for (qsizetype i = 0; (i + 1) * entryBytes <= table.size(); ++i) {
        const auto value = [&](int byte) { return static_cast<uchar>(table[i * entryBytes + byte]); };
        palette[i] = qRgb(value(2), value(1), value(0));
    }
    return true;
}

void BmpReader::readMasks(const QByteArray &header)
{
    std::array<uint32_t, 4> found{};
    if (compression == masks || compression == masksWithAlpha)
        for (int i = 0; i < 4; ++i)
            found[i] = numberAt<uint32_t>(header, 40 + 4 * i);
    if ((found[0] | found[1] | found[2]) == 0)
        found = bits == 16 ? std::array<uint32_t, 4>{0x7c00, 0x3e0, 0x1f, 0}
                           : std::array<uint32_t, 4>{0xff0000, 0xff00, 0xff, 0};
    int widest = 0;
    const auto widthOf = [](uint32_t mask) { return 32 - std::countl_zero(mask) - std::countr_zero(mask); };
    for (const uint32_t mask : found)
        widest = std::max(widest, mask ? widthOf(mask) : 0);
    isDeep = widest > 8;
    for (size_t i = 0; i < found.size(); ++i) {
        if (const uint32_t mask = found[i]) {
            const int shift = std::countr_zero(mask);
            channels[i] = {mask, shift, (isDeep ? 65535.0 : 255.0) / (mask >> shift)};
        }
    }
}

bool BmpReader::isOfKnownKind() const
{
    switch (compression) {
    case plain:
        return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    case runs8:
        return bits == 8;
    case runs4:
        return bits == 4;
    case runs24:
        return bits == 24;
    case masks:
    case masksWithAlpha:
        return bits == 16 || bits == 32;
    case jpegInside:
    case pngInside:
        return true;
    default:
        return false;
    }
}

QImage::Format BmpReader::imageFormat() const
{
    if (pixels.isEmpty())
        return QImage::Format_Invalid;
    if (bits == 1)
        return QImage::Format_Mono;
    if (bits <= 8)
        return QImage::Format_Indexed8;
    if (channels[3].mask)
        return isDeep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    return isDeep ? QImage::Format_RGBX64 : QImage::Format_RGB32;
}

qint64 BmpReader::rowBytes() const
{
    return (static_cast<qint64>(pixels.width()) * bits + 31) / 32 * 4;
}

QImage BmpReader::read()
{
    QImage image;
    if (pixels.isEmpty() || !device->seek(start + dataOffset))
        return {};
    if (compression == jpegInside || compression == pngInside)
        return QImage::fromData(device->readAll(), compression == jpegInside ? "JPG" : "PNG");
    if (!QImageIOHandler::allocateImage(pixels, imageFormat(), &image))
        return {};
    image.setColorTable(palette);
    if (image.colorCount() > 0)
        image.fill(0);
    else
        image.fill(Qt::black);
    if (!(isRuns(compression) ? readRuns(image) : readRows(image)))
        return {};
    if (channels[3].mask && !hasAlpha) // left out by a program that named a place for it
        image.convertTo(isDeep ? QImage::Format_RGBX64 : QImage::Format_RGB32);
    if (dotsPerMetreX > 0 && dotsPerMetreY > 0) {
        image.setDotsPerMeterX(dotsPerMetreX);
        image.setDotsPerMeterY(dotsPerMetreY);
    }
    if (profileBytes > 0 && profileBytes <= mostProfileBytes && device->seek(start + profileOffset))
        image.setColorSpace(QColorSpace::fromIccProfile(device->read(profileBytes)));
    return image;
}

bool BmpReader::readRows(QImage &image)
{
    std::vector<uchar> row(static_cast<size_t>(rowBytes()));
    for (int y = 0; y < pixels.height(); ++y) {
        const qint64 got = device->read(reinterpret_cast<char *>(row.data()), rowBytes());
        if (got < rowBytes())
            std::fill(row.begin() + std::max<qint64>(got, 0), row.end(), uchar(0));
        if (got > 0)
            putRow(image, lineOf(y), row.data());
        if (got < rowBytes())
            return y > 0 || got > 0;
    }
    return true;
}

void BmpReader::putRow(QImage &image, int y, const uchar *row)
{
    uchar *const line = image.scanLine(y);
    if (bits == 1 || bits == 8) {
        std::copy_n(row, std::min<qint64>(rowBytes(), image.bytesPerLine()), line);
    } else if (bits < 8) {
        const int perByte = 8 / bits;
        for (int x = 0; x < pixels.width(); ++x)
            line[x] = row[x / perByte] >> (8 - bits - x % perByte * bits) & ((1 << bits) - 1);
    } else {
        putPixels(line, row);
    }
}

void BmpReader::putPixels(uchar *line, const uchar *row)
{
    const int bytes = bits / 8;
    auto *const to = reinterpret_cast<QRgb *>(line);
    auto *const deep = reinterpret_cast<QRgba64 *>(line);
    const bool isUsual = !isDeep && channels[0].mask == 0xff0000 && channels[1].mask == 0xff00
                         && channels[2].mask == 0xff && channels[3].mask == 0;
    for (int x = 0; x < pixels.width(); ++x, row += bytes) {
        if (isUsual) {
            to[x] = qRgb(row[2], row[1], row[0]);
            continue;
        }
        uint32_t pixel = row[0] | row[1] << 8;
        if (bytes == 4)
            pixel |= row[2] << 16 | uint32_t(row[3]) << 24;
        const auto value = [&](int i) { return static_cast<uint32_t>(channels[i].of(pixel) + 0.5); };
        const bool isOpaque = channels[3].mask == 0;
        hasAlpha |= !isOpaque && value(3) > 0;
        if (isDeep)
            deep[x] = qRgba64(quint16(value(0)), quint16(value(1)), quint16(value(2)),
                              isOpaque ? 65535 : quint16(value(3)));
        else
            to[x] = qRgba(int(value(0)), int(value(1)), int(value(2)), isOpaque ? 255 : int(value(3)));
    }
}

bool BmpReader::readRuns(QImage &image)
{
    // A run takes two bytes or more, and each row an end of its own.
    const qint64 most = 4LL * pixels.width() * pixels.height() + 4LL * pixels.height() + 4;
    const QByteArray data = Packing::readAtMost(*device, most);
    const int unit = bits == 24 ? 3 : 1; // bytes of a colour or of two
    qsizetype at = 0;
    qint64 x = 0;
    qint64 y = 0;
    const auto byte = [&](qsizetype index) -> uchar {
        return index < data.size() ? static_cast<uchar>(data[index]) : uchar(0);
    };
    const auto put = [&](qsizetype from, int i) { // the pixel `i` of those that begin there
        if (x >= pixels.width())
            return;
        uchar *const line = image.scanLine(lineOf(static_cast<int>(y)));
        if (bits == 24)
            reinterpret_cast<QRgb *>(line)[x] = qRgb(byte(from + 2), byte(from + 1), byte(from));
        else
            line[x] = bits == 8 ? byte(from) : i % 2 ? byte(from) & 15 : byte(from) >> 4;
        ++x;
    };
    while (y < pixels.height() && at + 2 <= data.size()) {
        const int count = byte(at);
        const int code = byte(at + 1);
        at += 2;
        if (count > 0) {
            for (int i = 0; i < count; ++i)
                put(at - 1, i);
            at += unit - 1;
        } else if (code == 0) { // end of the row
            x = 0;
            ++y;
        } else if (code == 1) { // end of the picture
            return true;
        } else if (code == 2) {
            x += byte(at);
            y += byte(at + 1);
            at += 2;
        } else { // as many as they stand there, filled up to an even number of bytes
            for (int i = 0; i < code; ++i)
                put(at + (bits == 4 ? i / 2 : i * unit), i);
            const int bytes = bits == 4 ? (code + 1) / 2 : code * unit;
            at += bytes + bytes % 2;
        }
    }
    return at > 0;
}
