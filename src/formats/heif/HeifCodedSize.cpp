#include "formats/heif/HeifCodedSize.h"

#include <QByteArray>
#include <QIODevice>

#include <algorithm>

namespace {

constexpr qint64 mostMetadata = 16 * 1024 * 1024; // bytes
constexpr qint64 sequenceBytes = 64;              // enough to reach the size in a sequence header

/// Bits of a stream from the highest on; zeros behind its end.
class Bits
{
public:
    explicit Bits(QByteArray source)
        : bytes(std::move(source))
    {
    }

    quint64 take(int count)
    {
        quint64 value = 0;
        for (; count > 0; --count, ++at) {
            const qsizetype byte = at / 8;
            value =
                value << 1 | (byte < bytes.size() ? static_cast<quint8>(bytes[byte]) >> (7 - at % 8) & 1 : 0);
        }
        return value;
    }

    void skip(qsizetype count) { at += count; }
    bool atEnd() const { return at >= bytes.size() * 8; }

    /// Exponential Golomb code.
    quint64 golomb()
    {
        int zeros = 0;
        while (zeros < 32 && take(1) == 0)
            ++zeros;
        return (quint64(1) << zeros) - 1 + take(zeros);
    }

private:
    QByteArray bytes;
    qsizetype at = 0;
};

QSize sizeOf(quint64 width, quint64 height)
{
    constexpr quint64 most = 1 << 30;
    return {static_cast<int>(std::min(width, most)), static_cast<int>(std::min(height, most))};
}

QSize larger(QSize one, QSize other)
{
    const auto area = [](QSize size) { return static_cast<qint64>(size.width()) * size.height(); };
    return area(other) > area(one) ? other : one;
}

/// Of the sequence parameter set of HEVC, without its NAL header.
QSize hevcSize(QByteArray bytes)
{
    for (qsizetype at = bytes.indexOf(QByteArray("\0\0\3", 3)); at >= 0;
         at = bytes.indexOf(QByteArray("\0\0\3", 3), at + 2))
        bytes.remove(at + 2, 1);
    Bits bits(bytes);
    bits.skip(4);
    const int layers = static_cast<int>(bits.take(3));
    bits.skip(1 + 96); // the general profile and level
    quint64 present = bits.take(layers > 0 ? 16 : 0);
    for (int layer = 0; layer < layers; ++layer, present <<= 2)
        bits.skip((present & 0x8000 ? 88 : 0) + (present & 0x4000 ? 8 : 0));
    bits.golomb();
    if (bits.golomb() == 3)
        bits.skip(1);
    const quint64 width = bits.golomb();
    return sizeOf(width, bits.golomb());
}

/// Of the configuration of HEVC, behind its box's header: arrays of NAL units.
QSize hevcConfigurationSize(const QByteArray &configuration)
{
    QSize size(0, 0);
    Bits bits(configuration.left(1024));
    bits.skip(22 * 8);
    for (quint64 arrays = bits.take(8); arrays > 0 && !bits.atEnd(); --arrays) {
        bits.skip(8);
        for (quint64 units = bits.take(16); units > 0 && !bits.atEnd(); --units) {
            QByteArray unit(static_cast<qsizetype>(bits.take(16)), 0);
            for (char &byte : unit)
                byte = static_cast<char>(bits.take(8));
            constexpr int parameterSet = 33;
            if (unit.size() > 2 && (unit[0] >> 1 & 0x3F) == parameterSet)
                size = larger(size, hevcSize(unit.mid(2)));
        }
    }
    return size;
}

/// Of a stream of AV1 that begins with its sequence header, as a still picture's does.
QSize av1Size(QByteArray bytes)
{
    if (bytes.startsWith(QByteArray("\x12\0", 2))) // temporal delimiter
        bytes.remove(0, 2);
    if (!bytes.startsWith('\x0A'))
        return {0, 0};
    Bits bits(bytes.mid(2));
    bits.skip(4);
    if (!bits.take(1)) {  // not reduced to what a still picture needs
        if (bits.take(1)) // timing, rare enough to leave to the decoder
            return {0, 0};
        bits.skip(1);
        for (quint64 points = bits.take(5) + 1; points > 0; --points) {
            bits.skip(12);
            if (bits.take(5) > 7)
                bits.skip(1);
        }
    } else {
        bits.skip(5);
    }
    const int widthBits = static_cast<int>(bits.take(4)) + 1;
    const int heightBits = static_cast<int>(bits.take(4)) + 1;
    const quint64 width = bits.take(widthBits) + 1;
    return sizeOf(width, bits.take(heightBits) + 1);
}

QByteArray readAt(QIODevice &device, qint64 position, qint64 length)
{
    return position >= 0 && device.seek(position) ? device.read(length) : QByteArray();
}

/// The largest stream of AV1 among the items whose places the box lists.
QSize av1ItemsSize(const QByteArray &locations, QIODevice &device, qint64 start)
{
    QSize size(0, 0);
    Bits bits(locations);
    const quint64 version = bits.take(8);
    bits.skip(24);
    const int offsetBits = static_cast<int>(bits.take(4)) * 8;
    const int lengthBits = static_cast<int>(bits.take(4)) * 8;
    const int baseBits = static_cast<int>(bits.take(4)) * 8;
    const int indexBits = static_cast<int>(bits.take(4)) * (version > 0 ? 8 : 0);
    for (quint64 items = bits.take(version < 2 ? 16 : 32); items > 0 && !bits.atEnd(); --items) {
        bits.skip(version < 2 ? 16 : 32);
        const quint64 method = version > 0 ? bits.take(16) & 15 : 0;
        bits.skip(16);
        const quint64 base = bits.take(baseBits);
        const quint64 extents = bits.take(16);
        for (quint64 extent = 0; extent < extents && !bits.atEnd(); ++extent) {
            bits.skip(indexBits);
            const auto position = static_cast<qint64>(base + bits.take(offsetBits));
            bits.skip(lengthBits);
            if (extent == 0 && method == 0 && position < device.size() - start)
                size = larger(size, av1Size(readAt(device, start + position, sequenceBytes)));
        }
    }
    return size;
}

/// Calls `found` with the type and the contents' place and length of each box between two places.
template <typename Found>
void eachBox(QIODevice &device, qint64 from, qint64 end, const Found &found)
{
    while (from + 8 <= end) {
        const QByteArray header = readAt(device, from, 16);
        Bits bits(header);
        quint64 length = bits.take(32);
        bits.skip(32);
        const int headerLength = length == 1 ? 16 : 8;
        if (length == 1)
            length = bits.take(64);
        const quint64 most = static_cast<quint64>(end - from);
        length = length == 0 ? most : std::min(length, most);
        if (length < static_cast<quint64>(headerLength))
            return;
        found(header.mid(4, 4), from + headerLength, static_cast<qint64>(length) - headerLength);
        from += static_cast<qint64>(length);
    }
}

} // namespace

QSize Heif::largestCodedSize(QIODevice &device, qint64 start)
{
    QSize size(0, 0);
    const auto inside = [&](const QByteArray &type, qint64 at, qint64 length) {
        const QByteArray bytes = type == "iloc" || type == "iprp"
                                     ? readAt(device, at, std::min(length, mostMetadata))
                                     : QByteArray();
        if (type == "iloc")
            size = larger(size, av1ItemsSize(bytes, device, start));
        for (qsizetype found = bytes.indexOf("hvcC"); found >= 0; found = bytes.indexOf("hvcC", found + 4))
            size = larger(size, hevcConfigurationSize(bytes.mid(found + 4)));
    };
    eachBox(device, start, device.size(), [&](const QByteArray &type, qint64 at, qint64 length) {
        if (type == "meta") // its version and flags come first
            eachBox(device, at + 4, at + length, inside);
    });
    return size;
}
