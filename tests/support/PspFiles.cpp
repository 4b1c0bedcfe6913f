#include "support/PspFiles.h"
#include "support/ByteFile.h"

#include <functional>

namespace PspFiles {

namespace {

/// Numbers have their low byte first.
class Bytes : public ByteFile<QDataStream::LittleEndian>
{
public:
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
    if (compression == RunLength)
        return packedRuns(
            data, [](auto count) { return 128 + count; }, [](auto count) { return count; });
    return compression == Zip ? zipped(data) : data;
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
    const QByteArray start = fields(QByteArray(4, '\0'));
    if (picture.depth() == 8) {
        Bytes table;
        for (const QRgb entry : picture.colorTable())
            table.number(entry & 0xffffff);
        const auto index = [&](int x, int y) { return picture.constScanLine(y)[x]; };
        const QByteArray indexes = channel(file, 8, 0, index);
        return table.isEmpty() ? start + indexes : Bytes().block(2, start + table).prepend(start) + indexes;
    }
    const auto coloured = [&](quint16 bitmap, quint16 id, quint16 (QRgba64::*part)() const) {
        const int shift = picture.depth() == 64 ? 0 : 8;
        return channel(file, bitmap, id,
                       [&](int x, int y) { return (picture.pixelColor(x, y).rgba64().*part)() >> shift; });
    };
    return start + coloured(8, 1, &QRgba64::red) + coloured(8, 2, &QRgba64::green)
           + coloured(8, 3, &QRgba64::blue) + coloured(9, 0, &QRgba64::alpha);
}

QByteArray attributes(QSize size, int depth, int compression, int kind)
{
    Bytes content;
    content.number(size.width()).number(size.height());
    for (const int value : {depth, compression, 1, 0, 0, kind})
        content.number(static_cast<quint16>(value));
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
    bytes.number(quint32(8)); // the version
    bytes.block(0, fields(general)).block(1, QByteArray(7, '\1'));

    Bytes bank = fields(QByteArray(4, '\0'));
    QByteArray jpeg;
    if (!file.preview.isNull()) {
        QBuffer buffer(&jpeg);
        file.preview.save(&buffer, "jpeg", 100);
        bank += attributes(file.preview.size(), 24, 3, 1);
    }
    if (file.hasComposite)
        bank += attributes(size, depth, file.compression, 0);
    if (!jpeg.isEmpty())
        bank.block(18, fields(QByteArray(10, '\0')) + jpeg);
    if (file.hasComposite)
        bank.block(9, composite(file));
    return bytes.block(16, bank);
}

} // namespace PspFiles
