#include "support/PsdFiles.h"

#include <QDataStream>
#include <QIODevice>

#include <bit>

namespace PsdFiles {

namespace {

/// A file in the making. Numbers have their high byte first.
class Bytes : public QByteArray
{
public:
    template <typename Number>
    Bytes &number(Number value)
    {
        QByteArray bytes;
        QDataStream(&bytes, QIODevice::WriteOnly) << value;
        append(bytes);
        return *this;
    }
    Bytes &length(qint64 value, bool large)
    {
        return large ? number(value) : number(static_cast<quint32>(value));
    }
};

QByteArray row(const Picture &picture, int channel, int y)
{
    Bytes bytes;
    if (picture.depth == 1)
        bytes.resize((picture.size.width() + 7) / 8, 0);
    for (int x = 0; x < picture.size.width(); ++x) {
        const int value = picture.sample(channel, x, y);
        if (picture.depth == 1)
            bytes[x / 8] = static_cast<char>(bytes[x / 8] | (value > 127 ? 0x80 >> x % 8 : 0));
        else if (picture.depth == 8)
            bytes.number(static_cast<quint8>(value));
        else if (picture.depth == 16)
            bytes.number(static_cast<quint16>(value * 257));
        else
            bytes.number(std::bit_cast<quint32>(static_cast<float>(value / 255.0)));
    }
    return bytes;
}

QByteArray runLength(const QByteArray &row)
{
    QByteArray packed;
    for (qsizetype at = 0; at < row.size();) {
        qsizetype run = 1;
        while (at + run < row.size() && run < 128 && row[at + run] == row[at])
            ++run;
        packed.append(run > 1 ? static_cast<char>(1 - run) : '\0').append(row[at]);
        at += run;
    }
    return packed;
}

QByteArray predicted(const QByteArray &row, int depth)
{
    const int bytes = depth / 8;
    const qsizetype width = row.size() / bytes;
    QByteArray result = row;
    if (depth == 16) {
        Bytes words;
        int last = 0;
        for (qsizetype x = 0; x < width; ++x) {
            const int word = static_cast<uchar>(row[2 * x]) << 8 | static_cast<uchar>(row[2 * x + 1]);
            words.number(static_cast<quint16>(word - last));
            last = word;
        }
        return words;
    }
    for (qsizetype x = 0; x < width; ++x)
        for (int byte = 0; byte < bytes; ++byte)
            result[byte * width + x] = row[x * bytes + byte];
    for (qsizetype i = result.size() - 1; i > 0; --i)
        result[i] = static_cast<char>(result[i] - result[i - 1]);
    return result;
}

QByteArray mergedPicture(const Picture &picture)
{
    Bytes merged;
    Bytes lengths;
    QByteArray data;
    for (int channel = 0; channel < picture.channels; ++channel) {
        for (int y = 0; y < picture.size.height(); ++y) {
            QByteArray bytes = row(picture, channel, y);
            if (picture.compression == RunLength)
                bytes = runLength(bytes);
            else if (picture.compression == ZipWithPrediction && picture.depth > 1)
                bytes = predicted(bytes, picture.depth);
            if (picture.compression == RunLength && picture.large)
                lengths.number(static_cast<quint32>(bytes.size()));
            else if (picture.compression == RunLength)
                lengths.number(static_cast<quint16>(bytes.size()));
            data += bytes;
        }
    }
    if (picture.compression >= Zip)
        data = qCompress(data).mid(4); // without Qt's own length
    merged.number(static_cast<quint16>(picture.compression));
    return merged + lengths + data;
}

QByteArray layerSection(const Picture &picture)
{
    Bytes count;
    count.number(static_cast<qint16>(picture.layers)).append(2, '\0');
    Bytes section;
    if (picture.layersInTaggedBlock) {
        section.length(0, picture.large)
            .number(quint32(0))
            .append("8BIMPatt")
            .append(4, '\0')
            .append("8BIMLr16");
        section.length(count.size(), picture.large).append(count);
    } else if (picture.layers != 0) {
        section.length(count.size(), picture.large).append(count);
    }
    return section;
}

QByteArray resource(quint16 id, const QByteArray &data)
{
    Bytes bytes;
    bytes.append("8BIM");
    bytes.number(id).number(quint16(0)).number(static_cast<quint32>(data.size()));
    return bytes + data + QByteArray(data.size() % 2, '\0');
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
    file.length(table.size(), false).append(table);

    QByteArray resources = resource(1005, QByteArray::fromHex("00c80000000100010064000000010001"));
    if (picture.namesChannels)
        resources += resource(1006, "\7Alpha 1");
    if (!picture.profile.isEmpty())
        resources += resource(1039, picture.profile);
    file.length(resources.size(), false).append(resources);

    const QByteArray layers = layerSection(picture);
    file.length(layers.size(), picture.large).append(layers);
    return file + mergedPicture(picture);
}

} // namespace PsdFiles
