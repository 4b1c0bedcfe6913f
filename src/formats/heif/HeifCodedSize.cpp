#include "formats/heif/HeifCodedSize.h"

#include "formats/heif/HeifBits.h"

#include <algorithm>

using Heif::Bits;

namespace {

constexpr int headerBytes = 16;     // the longest head of a unit takes 10
constexpr int parameterBytes = 512; // enough to reach the size in a sequence's parameters

QSize sizeOf(quint64 width, quint64 height)
{
    constexpr quint64 most = 1 << 30;
    return {static_cast<int>(std::min(width, most)), static_cast<int>(std::min(height, most))};
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
    bits.skipGolomb();
    if (bits.golomb() == 3)
        bits.skip(1);
    const quint64 width = bits.golomb();
    return sizeOf(width, bits.golomb());
}

/// Whether a NAL unit is a sequence parameter set of the base layer.
bool isParameterSet(const QByteArray &unit)
{
    Bits bits(unit.left(2));
    bits.skip(1);
    return bits.take(6) == 33 && bits.take(6) == 0;
}

QSize hevcUnitSize(const QByteArray &unit)
{
    return isParameterSet(unit) ? hevcSize(unit.mid(2)) : QSize(0, 0);
}

/// Of the sequence header of AV1.
QSize av1Size(const QByteArray &bytes)
{
    Bits bits(bytes);
    bits.skip(4);
    if (bits.take(1)) { // reduced to what a still picture needs
        bits.skip(5);
    } else {
        int delayBits = 0; // of the decoder's model
        if (bits.take(1)) {
            bits.skip(64);
            if (bits.take(1))
                bits.skipGolomb();
            if (bits.take(1)) {
                delayBits = static_cast<int>(bits.take(5)) + 1;
                bits.skip(42);
            }
        }
        const bool displayDelay = bits.take(1);
        for (quint64 points = bits.take(5) + 1; points > 0; --points) {
            bits.skip(12);
            if (bits.take(5) > 7)
                bits.skip(1);
            if (delayBits > 0 && bits.take(1))
                bits.skip(2 * delayBits + 1);
            if (displayDelay && bits.take(1))
                bits.skip(4);
        }
    }
    const int widthBits = static_cast<int>(bits.take(4)) + 1;
    const int heightBits = static_cast<int>(bits.take(4)) + 1;
    const quint64 width = bits.take(widthBits) + 1;
    const quint64 height = bits.take(heightBits) + 1;
    return bits.atEnd() ? QSize(0, 0) : sizeOf(width, height);
}

struct Unit
{
    qint64 header; ///< bytes
    qint64 length; ///< bytes behind the header
    bool parameters;
};

/// The unit of AV1 that begins with these bytes, the last `left` of its stream at most.
Unit av1Unit(const QByteArray &bytes, qint64 left)
{
    Bits bits(bytes);
    bits.skip(1);
    const bool parameters = bits.take(4) == 1;
    const bool extended = bits.take(1);
    const bool hasLength = bits.take(1);
    bits.skip(extended ? 9 : 1);
    qint64 header = extended ? 2 : 1;
    if (!hasLength)
        return {header, left - header, parameters};
    quint64 length = 0;
    for (int shift = 0; shift < 56; shift += 7) { // the lowest seven bits first
        const quint64 byte = bits.take(8);
        length |= (byte & 0x7F) << shift;
        ++header;
        if (byte < 0x80)
            break;
    }
    return {header, static_cast<qint64>(length), parameters};
}

/// True for the first piece of a picture's own data, of the layer that everybody decodes.
bool beginsPicture(const QByteArray &unit)
{
    Bits bits(unit);
    bits.skip(1);
    const bool isPictureData = bits.take(6) < 32;
    const bool isBaseLayer = bits.take(6) == 0;
    bits.skip(3);
    return isPictureData && isBaseLayer && unit.size() > 2 && bits.take(1) == 1;
}

} // namespace

QSize Heif::larger(QSize one, QSize other)
{
    const auto area = [](QSize size) { return static_cast<qint64>(size.width()) * size.height(); };
    return area(other) > area(one) ? other : one;
}

QSize Heif::hevcConfigurationSize(const QByteArray &configuration)
{
    QSize size(0, 0);
    Bits bits(configuration.left(22 + 1));
    bits.skip(22 * 8);
    qsizetype at = 23;
    const auto number = [&] {
        at += 2;
        return Bits(configuration.mid(at - 2, 2)).take(16);
    };
    for (quint64 arrays = bits.take(8); arrays > 0 && at < configuration.size(); --arrays) {
        ++at;
        for (quint64 units = number(); units > 0 && at < configuration.size(); --units) {
            const auto length = static_cast<qsizetype>(number());
            size = larger(size,
                          hevcUnitSize(configuration.mid(at, std::min<qsizetype>(length, parameterBytes))));
            at += length;
        }
    }
    return size;
}

QSize Heif::hevcStreamSize(const ReadAt &read, qint64 length, int &units)
{
    QSize size(0, 0);
    int pictures = 0;
    for (qint64 at = 0; at + 4 < length && units > 0; --units) {
        const QByteArray bytes = read(at, 4 + 3);
        if (beginsPicture(bytes.mid(4)) && ++pictures > 1) {
            units = 0;
            break;
        }
        const auto unitLength = static_cast<qint64>(Bits(bytes).take(32));
        if (isParameterSet(bytes.mid(4)))
            size = larger(size, hevcUnitSize(read(at + 4, std::min<qint64>(unitLength, parameterBytes))));
        at += 4 + unitLength;
    }
    return size;
}

QSize Heif::av1StreamSize(const ReadAt &read, qint64 length, int &units)
{
    QSize size(0, 0);
    for (qint64 at = 0; at < length && units > 0; --units) {
        const Unit unit = av1Unit(read(at, headerBytes), length - at);
        if (unit.parameters)
            size =
                larger(size, av1Size(read(at + unit.header, std::min<qint64>(unit.length, parameterBytes))));
        at += unit.header + unit.length;
    }
    return size;
}
