#include "shared/image/PlainTiff.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr qsizetype stripBytes = 256 * 1024; // about what stays in the processor's cache
constexpr qsizetype entryBytes = 12;
constexpr quint16 typeLong = 4; ///< of 32 bits

bool isGrey(const QImage &image)
{
    return image.format() == QImage::Format_Grayscale8;
}

qint64 bytesOfRow(const QImage &image)
{
    return qint64(image.width()) * (isGrey(image) ? 1 : 3);
}

qint64 rowsOfStrip(const QImage &image)
{
    return std::clamp<qint64>(stripBytes / bytesOfRow(image), 1, image.height());
}

// Such files are in the byte order of the machine.
template <typename Number>
Number numberAt(const QByteArray &file, qsizetype at)
{
    return qFromUnaligned<Number>(file.constData() + at);
}

template <typename Number>
void setNumber(QByteArray &file, qsizetype at, Number number)
{
    qToUnaligned(number, file.data() + at);
}

} // namespace

bool PlainTiff::takes(const QImage &image)
{
    // The format counts bytes in 32 bits; beside the rows there are their places, and metadata.
    constexpr qint64 most = std::numeric_limits<quint32>::max() / 16 * 15;
    const QImage::Format format = image.format();
    return (isGrey(image) || format == QImage::Format_RGB32 || format == QImage::Format_RGB888)
           && bytesOfRow(image) * image.height() < most;
}

QByteArray PlainTiff::headOf(const QImage &image, QByteArray head)
{
    const qint64 row = bytesOfRow(image);
    const qint64 rows = rowsOfStrip(image);
    const qint64 strips = (image.height() + rows - 1) / rows;

    head.append(head.size() % 2, 0);
    const qsizetype places = head.size();
    head.append(8 * strips, 0); // where each strip is, and how long
    for (qint64 strip = 0; strip < strips; ++strip) {
        const qint64 length = std::min(rows, image.height() - strip * rows) * row;
        setNumber(head, places + 4 * strip, static_cast<quint32>(head.size() + strip * rows * row));
        setNumber(head, places + 4 * (strips + strip), static_cast<quint32>(length));
    }

    // A single number stands in its entry, of several there is the place.
    const bool isSingle = strips == 1;
    const struct
    {
        quint16 tag;
        qint64 count;
        qint64 value;
    } changed[] = {{256, 1, image.width()},
                   {257, 1, image.height()},
                   {273, strips, isSingle ? head.size() : places},
                   {278, 1, rows},
                   {279, strips, isSingle ? rows * row : places + 4 * strips}};
    const qsizetype directory = numberAt<quint32>(head, 4);
    if (directory > places - 2)
        return {};
    const qsizetype entries =
        std::min<qsizetype>(numberAt<quint16>(head, directory), (places - directory) / entryBytes);
    size_t found = 0;
    for (qsizetype i = 0; i < entries; ++i) {
        const qsizetype entry = directory + 2 + i * entryBytes;
        for (const auto &[tag, count, value] : changed) {
            if (numberAt<quint16>(head, entry) != tag)
                continue;
            setNumber(head, entry + 2, typeLong);
            setNumber(head, entry + 4, static_cast<quint32>(count));
            setNumber(head, entry + 8, static_cast<quint32>(value));
            ++found;
        }
    }
    return found == std::size(changed) ? head : QByteArray();
}

bool PlainTiff::write(const QImage &image, const QByteArray &head, QIODevice &device)
{
    if (device.write(head) != head.size())
        return false;
    const qint64 row = bytesOfRow(image);
    const qint64 rows = rowsOfStrip(image);
    const QImage::Format format = isGrey(image) ? image.format() : QImage::Format_RGB888;
    for (qint64 y = 0; y < image.height(); y += rows) {
        const int count = static_cast<int>(std::min(rows, image.height() - y));
        const QImage lines(image.constScanLine(static_cast<int>(y)), image.width(), count,
                           image.bytesPerLine(), image.format());
        const QImage strip = lines.convertToFormat(format);
        for (int line = 0; line < count; ++line)
            if (device.write(reinterpret_cast<const char *>(strip.constScanLine(line)), row) != row)
                return false;
    }
    return true;
}
