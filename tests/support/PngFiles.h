#pragma once

#include <QtGui>

#include <algorithm>
#include <cstdlib>

#include <zlib.h>

/// PNG files from their parts, for the tests and a fuzzer.
namespace PngFiles {

inline const QByteArray signature("\x89PNG\r\n\x1a\n", 8);

enum ColourType : char
{
    Grey = 0,
    Rgb = 2,
    Palette = 3,
    GreyAlpha = 4,
    RgbAlpha = 6
};

inline int channels(ColourType type)
{
    return type == RgbAlpha ? 4 : type == Rgb ? 3 : type == GreyAlpha ? 2 : 1;
}

inline QByteArray bigEndian(quint32 number)
{
    number = qToBigEndian(number);
    return {reinterpret_cast<const char *>(&number), 4};
}

inline QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    const QByteArray body = type + data;
    const uLong sum =
        crc32(0, reinterpret_cast<const Bytef *>(body.constData()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<quint32>(data.size())) + body + bigEndian(static_cast<quint32>(sum));
}

inline QByteArray header(QSize size, ColourType type, char depth = 8, bool isInterlaced = false)
{
    return chunk("IHDR", bigEndian(static_cast<quint32>(size.width()))
                             + bigEndian(static_cast<quint32>(size.height())) + depth + type
                             + QByteArray("\0\0", 2) + char(isInterlaced));
}

/// The stream of these rows, each behind the number of its filter.
inline QByteArray packed(const QByteArray &rows)
{
    return qCompress(rows).mid(4); // behind the length that is Qt's own
}

/// A file of a header, other chunks, and a stream.
inline QByteArray file(const QByteArray &chunks, const QByteArray &stream)
{
    return signature + chunks + chunk("IDAT", stream) + chunk("IEND", {});
}

/// Plug-ins from Qt 6.5 on weigh colours by their alpha as they scale, and round those without to the
/// nearest.
constexpr bool pluginRoundsDown = QT_VERSION < QT_VERSION_CHECK(6, 5, 0);

/// The kinds of pictures that are shrunk for the plug-in.
inline QList<ColourType> shrunkTypes()
{
    return pluginRoundsDown ? QList<ColourType>{Rgb, GreyAlpha, RgbAlpha} : QList<ColourType>{Rgb};
}

/// Whether a picture of four bytes a pixel is what the plug-in made, but for its rounding.
inline bool isAsThePlugin(const QImage &picture, const QImage &expected)
{
    if (pluginRoundsDown || picture.size() != expected.size() || picture.format() != expected.format())
        return picture == expected && picture.format() == expected.format();
    for (int y = 0; y < picture.height(); ++y) {
        const uchar *const line = picture.constScanLine(y);
        if (!std::equal(line, line + picture.width() * 4, expected.constScanLine(y),
                        [](uchar one, uchar other) { return std::abs(one - other) <= 1; }))
            return false;
    }
    return true;
}

} // namespace PngFiles
