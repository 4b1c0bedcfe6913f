#include "shared/image/PlainTiff.h"

#include "shared/image/PictureRows.h"

#include <QtEndian>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr qsizetype stripBytes = 256 * 1024; // about what stays in the processor's cache
constexpr qsizetype entryBytes = 12;
constexpr quint16 typeLong = 4; ///< of 32 bits

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

bool PlainTiff::takes(QImage::Format format, QSize size)
{
    // The format counts bytes in 32 bits; beside the rows there are their places, and metadata.
    constexpr qint64 most = std::numeric_limits<quint32>::max() / 16 * 15;
    const bool isGrey = format == QImage::Format_Grayscale8;
    return (isGrey || format == QImage::Format_RGB32 || format == QImage::Format_RGB888)
           && qint64(size.width()) * size.height() * (isGrey ? 1 : 3) < most;
}

QByteArray PlainTiff::headOf(const PictureRows &picture, QByteArray head)
{
    const qint64 row = picture.bytesOfRow();
    const qint64 height = picture.size.height();
    const qint64 rows = std::clamp<qint64>(stripBytes / row, 1, height);
    const qint64 strips = (height + rows - 1) / rows;

    head.append(head.size() % 2, 0);
    const qsizetype places = head.size();
    head.append(8 * strips, 0); // where each strip is, and how long
    for (qint64 strip = 0; strip < strips; ++strip) {
        const qint64 length = std::min(rows, height - strip * rows) * row;
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
    } changed[] = {{256, 1, picture.size.width()},
                   {257, 1, height},
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
