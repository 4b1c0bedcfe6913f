#include "support/LayeredFiles.h"

#include <QBuffer>
#include <QDataStream>
#include <QtEndian>

#include <algorithm>

namespace LayeredFiles {

namespace {

constexpr auto big = QDataStream::BigEndian;
constexpr auto little = QDataStream::LittleEndian;

template <typename... Numbers>
QByteArray numbers(QDataStream::ByteOrder order, Numbers... values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(order);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    (stream << ... << values);
    return bytes;
}

QByteArray row(const Picture &picture, int channel, int y)
{
    const auto order = picture.format == Psp ? little : big;
    const bool isDelta = picture.compression == ZipWithPrediction && picture.depth > 1 && picture.depth < 32;
    QByteArray bytes;
    for (int x = 0; x < picture.size.width(); ++x) {
        int value = picture.sample(channel, x, y);
        if (isDelta && x > 0)
            value -= picture.sample(channel, x - 1, y);
        const int usedBits = x * picture.depth % 8;
        if (picture.depth == 16)
            bytes += numbers(order, static_cast<quint16>(value * 257));
        else if (picture.depth == 32)
            bytes += numbers(order, static_cast<float>(value / 255.0));
        else if (usedBits == 0)
            bytes += static_cast<char>(value & 0xff00 >> picture.depth);
        else
            bytes.back() = static_cast<char>(bytes.back() | (value & 0xff00 >> picture.depth) >> usedBits);
    }
    return picture.format == Psp ? bytes.append((4 - bytes.size() % 4) % 4, '\0') : bytes;
}

/// The highest bytes of all floats, then the second highest; each byte less the one before.
QByteArray predictedFloats(const QByteArray &row)
{
    const qsizetype width = row.size() / 4;
    QByteArray result;
    char last = 0;
    for (qsizetype i = 0; i < row.size(); ++i) {
        const char byte = row[i % width * 4 + i / width];
        result += static_cast<char>(byte - last);
        last = byte;
    }
    return result;
}

/// As long runs and, where there are none, as long literals as the format's codes allow.
QByteArray packedRuns(const QByteArray &data, bool psp)
{
    QByteArray packed(psp ? 0 : 1, '\x80'); // a code that means nothing
    for (qsizetype at = 0; at < data.size();) {
        const bool isRun = at + 1 < data.size() && data[at + 1] == data[at];
        const qsizetype longest = std::min<qsizetype>(data.size() - at, psp && isRun ? 127 : 128);
        qsizetype count = 1;
        while (count < longest && (data[at + count] == data[at + count - 1]) == isRun)
            ++count;
        packed += static_cast<char>(isRun ? (psp ? 128 + count : 1 - count) : (psp ? count : count - 1));
        packed += data.mid(at, isRun ? 1 : count);
        at += count;
    }
    return packed;
}

/// The samples of some channels, for .psd behind the lengths of all rows that are packed as runs.
QByteArray planes(const Picture &picture, int firstChannel, int channels)
{
    QByteArray lengths;
    QByteArray data;
    for (int channel = firstChannel; channel < firstChannel + channels; ++channel) {
        for (int y = 0; y < picture.size.height(); ++y) {
            QByteArray bytes = row(picture, channel, y);
            if (picture.compression == ZipWithPrediction && picture.depth == 32)
                bytes = predictedFloats(bytes);
            if (picture.compression == RunLength)
                bytes = packedRuns(bytes, picture.format == Psp);
            lengths += QByteArray(picture.format == Psb ? 2 : 0, '\0') + numbers(big, quint16(bytes.size()));
            data += bytes;
        }
    }
    if (picture.compression >= Zip)
        return qCompress(data).mid(4); // without the length that Qt writes first
    return picture.compression == RunLength && picture.format != Psp ? lengths + data : data;
}

QByteArray section(const QByteArray &content, bool large = false)
{
    return QByteArray(large ? 4 : 0, '\0') + numbers(big, static_cast<quint32>(content.size())) + content;
}

QByteArray layerSection(const Picture &picture)
{
    const bool large = picture.format == Psb;
    const QByteArray count = section(numbers(big, static_cast<qint16>(picture.layers), quint16(0)), large);
    if (picture.depth == 8)
        return count;
    return section({}, large) + section({}) + (picture.depth == 32 ? "8BIMLr32" : "8BIMLr16") + count;
}

/// Fixed fields, behind their length, come first.
QByteArray block(quint16 id, const QByteArray &fields, const QByteArray &rest = {})
{
    const QByteArray content = numbers(little, static_cast<quint32>(fields.size() + 4)) + fields + rest;
    return QByteArray("~BK\0", 4) + numbers(little, id, static_cast<quint32>(content.size())) + content;
}

QByteArray composite(const Picture &picture)
{
    QByteArray table;
    for (int i = 0; picture.mode == Indexed && i < 1 << picture.depth; ++i)
        table += numbers(little, paletteColour(i) & 0xffffff);
    QByteArray blocks = table.isEmpty() ? table : block(2, QByteArray(4, '\0'), table);
    const int colours = picture.mode == Rgb ? 3 : 1;
    const qsizetype length = row(picture, 0, 0).size() * picture.size.height();
    for (int channel = 0; channel < picture.channels; ++channel) {
        const QByteArray stored = planes(picture, channel, 1);
        const bool isMask = channel == colours;
        const int id = isMask || colours == 1 ? 0 : channel + 1;
        blocks += block(
            5, numbers(little, quint32(stored.size()), quint32(length), quint16(isMask ? 9 : 8), quint16(id)),
            stored);
    }
    return blocks;
}

QByteArray attributes(QSize size, int depth, int compression, quint16 kind)
{
    return block(17, numbers(little, size.width(), size.height(), quint16(depth), quint16(compression),
                             quint16(1), quint32(0), kind));
}

QByteArray makePsp(const Picture &picture)
{
    const QSize size = picture.claimedSize;
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    picture.preview.save(&buffer, "jpeg", 100);
    const QByteArray bank =
        attributes(picture.preview.size(), 24, 3, 1)
        + attributes(size, picture.mode == Rgb ? 3 * picture.depth : picture.depth, picture.compression, 0)
        + block(18, QByteArray(10, '\0'), jpeg) + block(9, QByteArray(4, '\0'), composite(picture));
    return QByteArray("Paint Shop Pro Image File\n\x1a\0\0\0\0\0\x8\0\0\0", 36) // the version is 8
           + block(0, numbers(little, size.width(), size.height()) + QByteArray(34, '\0'))
           + block(1, QByteArray(7, '\1')) + block(16, QByteArray(4, '\0'), bank);
}

} // namespace

QByteArray make(const Picture &picture)
{
    if (picture.format == Psp)
        return makePsp(picture);
    QByteArray table;
    for (int i = 0; picture.mode == Indexed && i < 768; ++i) // red, then green, then blue
        table += static_cast<char>(paletteColour(i % 256) >> (16 - i / 256 * 8));
    const QByteArray names = "8BIM" + numbers(big, quint16(1006), quint16(0)) + section(picture.channelNames);
    const QByteArray profile = "8BIM" + numbers(big, quint16(1039), quint16(0)) + section(picture.profile);
    return "8BPS" + numbers(big, quint16(picture.format == Psb ? 2 : 1), quint32(0), quint16(0))
           + numbers(big, quint16(picture.channels), picture.claimedSize.height())
           + numbers(big, picture.claimedSize.width(), quint16(picture.depth), quint16(picture.mode))
           + section(table) + section(names + profile)
           + section(picture.layers == 0 ? QByteArray() : layerSection(picture), picture.format == Psb)
           + numbers(big, static_cast<quint16>(picture.compression)) + planes(picture, 0, picture.channels);
}

} // namespace LayeredFiles
