#include "support/PspFiles.h"

#include <QBuffer>
#include <QDataStream>

#include <functional>

namespace PspFiles {

namespace {

/// A file in the making. Numbers have their low byte first.
class Bytes : public QByteArray
{
public:
    template <typename Number>
    Bytes &number(Number value)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setByteOrder(QDataStream::LittleEndian);
        stream << value;
        append(bytes);
        return *this;
    }
    Bytes &block(quint16 id, const QByteArray &content)
    {
        append("~BK").append('\0');
        number(id).number(static_cast<quint32>(content.size())).append(content);
        return *this;
    }
};

/// Fixed fields with their length before them.
Bytes fields(const QByteArray &content)
{
    Bytes bytes;
    bytes.number(static_cast<quint32>(content.size() + 4)).append(content);
    return bytes;
}

QByteArray packed(const QByteArray &data, Compression compression)
{
    if (compression == Zip)
        return qCompress(data).mid(4); // without Qt's own length
    if (compression == Raw)
        return data;
    QByteArray runs;
    for (qsizetype at = 0; at < data.size();) {
        qsizetype run = 1;
        while (at + run < data.size() && run < 127 && data[at + run] == data[at])
            ++run;
        runs.append(run > 1 ? static_cast<char>(128 + run) : '\1').append(data[at]);
        at += run;
    }
    return runs;
}

QByteArray channel(const File &file, quint16 bitmap, quint16 id, const std::function<int(int, int)> &sample)
{
    const bool deep = file.picture.format() == QImage::Format_RGBA64;
    Bytes data;
    for (int y = 0; y < file.picture.height(); ++y) {
        for (int x = 0; x < file.picture.width(); ++x) {
            const int shift = 8 - file.indexBits - x * file.indexBits % 8;
            if (deep)
                data.number(static_cast<quint16>(sample(x, y)));
            else if (x * file.indexBits % 8 == 0)
                data.number(static_cast<quint8>(sample(x, y) << shift));
            else
                data.back() = static_cast<char>(data.back() | sample(x, y) << shift);
        }
        data.append((4 - data.size() % 4) % 4, '\0');
    }
    const QByteArray stored = packed(data, file.compression);
    Bytes content;
    content.number(static_cast<quint32>(stored.size())).number(static_cast<quint32>(data.size()));
    content.number(bitmap).number(id);
    return Bytes().block(5, fields(content) + stored);
}

QByteArray composite(const File &file)
{
    const QImage &picture = file.picture;
    const int shift = picture.format() == QImage::Format_RGBA64 ? 0 : 8;
    const auto colour = [&](int x, int y) { return picture.pixelColor(x, y).rgba64(); };
    Bytes content = fields(QByteArray(4, '\0'));
    if (picture.depth() == 8) {
        Bytes table;
        for (const QRgb entry : picture.colorTable())
            table.number(entry & 0xffffff);
        if (!table.isEmpty())
            content.block(2, fields(QByteArray(4, '\0')) + table);
        content += channel(file, 8, 0, [&](int x, int y) { return picture.constScanLine(y)[x]; });
        return content;
    }
    content += channel(file, 8, 1, [&](int x, int y) { return colour(x, y).red() >> shift; });
    content += channel(file, 8, 2, [&](int x, int y) { return colour(x, y).green() >> shift; });
    content += channel(file, 8, 3, [&](int x, int y) { return colour(x, y).blue() >> shift; });
    content += channel(file, 9, 0, [&](int x, int y) { return colour(x, y).alpha() >> shift; });
    return content;
}

QByteArray attributes(QSize size, int depth, quint16 compression, quint16 kind)
{
    Bytes content;
    content.number(size.width())
        .number(size.height())
        .number(static_cast<quint16>(depth))
        .number(compression);
    content.number(quint16(1)).number(quint32(0)).number(kind);
    return Bytes().block(17, fields(content));
}

} // namespace

QByteArray make(const File &file)
{
    const QSize size = file.picture.size();
    const int depth = file.picture.depth() == 32 ? 24 : file.picture.depth() == 64 ? 48 : file.indexBits;
    Bytes general;
    general.number(size.width()).number(size.height()).append(34, '\0');
    Bytes bytes;
    bytes.append("Paint Shop Pro Image File\n\x1a").append(5, '\0');
    bytes.number(quint16(8)).number(quint16(0)).block(0, fields(general)).block(1, QByteArray(7, '\1'));

    Bytes bank = fields(QByteArray(4, '\0'));
    QByteArray jpeg;
    if (!file.preview.isNull()) {
        QBuffer buffer(&jpeg);
        file.preview.save(&buffer, "jpeg", 100);
        bank += attributes(file.preview.size(), 24, 3, 1);
    }
    if (file.hasComposite)
        bank += attributes(size, depth, static_cast<quint16>(file.compression), 0);
    if (!jpeg.isEmpty())
        bank.block(18, fields(QByteArray(10, '\0')) + jpeg);
    if (file.hasComposite)
        bank.block(9, composite(file));
    return bytes.block(16, bank);
}

} // namespace PspFiles
