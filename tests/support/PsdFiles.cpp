#include "support/PsdFiles.h"
#include "support/ByteFile.h"

#include <bit>

namespace PsdFiles {

namespace {

/// Numbers have their high byte first.
class Bytes : public ByteFile<QDataStream::BigEndian>
{
public:
    Bytes &section(const QByteArray &content, bool large = false)
    {
        if (large)
            number(quint32(0));
        number(static_cast<quint32>(content.size())).append(content);
        return *this;
    }
    Bytes &resource(quint16 id, const QByteArray &content)
    {
        append("8BIM");
        number(id).number(quint16(0));
        section(content).append(content.size() % 2, '\0');
        return *this;
    }
};

QByteArray row(const Picture &picture, int channel, int y)
{
    Bytes bytes;
    for (int x = 0; x < picture.size.width(); ++x) {
        const int value = picture.sample(channel, x, y);
        if (picture.depth == 1 && x % 8 == 0)
            bytes.append('\0');
        if (picture.depth == 1)
            bytes.back() = static_cast<char>(bytes.back() | (value > 127 ? 0x80 >> x % 8 : 0));
        else if (picture.depth == 8)
            bytes.number(static_cast<quint8>(value));
        else if (picture.depth == 16)
            bytes.number(static_cast<quint16>(value * 257));
        else
            bytes.number(std::bit_cast<quint32>(static_cast<float>(value / 255.0)));
    }
    return bytes;
}

/// Each number less the one before; of floats the highest bytes of all come first.
QByteArray predicted(const Picture &picture, int channel, int y)
{
    if (picture.depth == 16) {
        Bytes words;
        for (int x = 0, last = 0; x < picture.size.width(); ++x) {
            const int word = picture.sample(channel, x, y) * 257;
            words.number(static_cast<quint16>(word - last));
            last = word;
        }
        return words;
    }
    const QByteArray bytes = row(picture, channel, y);
    const qsizetype sampleSize = picture.depth / 8;
    QByteArray result;
    char last = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char byte = bytes[i % picture.size.width() * sampleSize + i / picture.size.width()];
        result += static_cast<char>(byte - last);
        last = byte;
    }
    return result;
}

QByteArray mergedPicture(const Picture &picture)
{
    Bytes lengths;
    QByteArray data;
    for (int channel = 0; channel < picture.channels; ++channel) {
        for (int y = 0; y < picture.size.height(); ++y) {
            QByteArray bytes = picture.compression == ZipWithPrediction && picture.depth > 1
                                   ? predicted(picture, channel, y)
                                   : row(picture, channel, y);
            if (picture.compression == RunLength) {
                bytes =
                    '\x80' // means nothing
                    + packedRuns(
                        bytes, [](auto count) { return 1 - count; }, [](auto count) { return count - 1; });
                if (picture.large)
                    lengths.number(quint16(0));
                lengths.number(static_cast<quint16>(bytes.size()));
            }
            data += bytes;
        }
    }
    const QByteArray stored = picture.compression >= Zip ? zipped(data) : lengths + data;
    return Bytes().number(static_cast<quint16>(picture.compression)) + stored;
}

QByteArray layerSection(const Picture &picture)
{
    if (picture.layers == 0)
        return {};
    Bytes count;
    count.number(static_cast<qint16>(picture.layers)).append(2, '\0');
    if (!picture.layersInTaggedBlock)
        return Bytes().section(count, picture.large);
    Bytes tagged;
    tagged.section({}, picture.large).section({}).append("8BIMPatt");
    tagged.section({}).append(picture.depth == 32 ? "8BIMLr32" : "8BIMLr16");
    return tagged.section(count, picture.large);
}

} // namespace

int pattern(int channel, int x, int y)
{
    return (x / 3 * 37 + y * 11 + channel * 83) % 256;
}

QByteArray make(const Picture &picture)
{
    Bytes file;
    file.append("8BPS").append(1, '\0').append(picture.large ? '\2' : '\1').append(6, '\0');
    file.number(static_cast<quint16>(picture.channels))
        .number(static_cast<quint32>(picture.size.height()))
        .number(static_cast<quint32>(picture.size.width()))
        .number(static_cast<quint16>(picture.depth))
        .number(static_cast<quint16>(picture.mode));

    QByteArray table;
    for (int i = 0; picture.mode == Indexed && i < 768; ++i)
        table += static_cast<char>(i < 256 ? i : i < 512 ? 255 - i : i / 2); // red, then green, then blue
    Bytes resources;
    resources.resource(1005, QByteArray::fromHex("00c80000000100010064000000010001"));
    if (picture.namesChannels)
        resources.resource(1006, "\7Alpha 1");
    if (!picture.profile.isEmpty())
        resources.resource(1039, picture.profile);
    file.section(table).section(resources).section(layerSection(picture), picture.large);
    return file + mergedPicture(picture);
}

} // namespace PsdFiles
