#include "shared/image/ColourPng.h"

#include "shared/image/ColourCodePoints.h"

#include <QByteArray>
#include <QHash>
#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr qint64 mostBytes = 16 << 20; // more than any profile has

using Chunks = QHash<QByteArray, QByteArray>;

/// The data of the chunks about colour, which all stand before the pixels.
Chunks colourChunks(QIODevice &file)
{
    constexpr int mostChunks = 10'000;
    constexpr qint64 checksum = 4;
    Chunks found;
    if (file.read(8) != QByteArray("\x89PNG\r\n\x1a\n"))
        return found;
    for (int chunk = 0; chunk < mostChunks; ++chunk) {
        const QByteArray head = file.read(8);
        const QByteArray type = head.mid(4);
        if (head.size() < 8 || type == "IDAT" || type == "IEND")
            break;
        const qint64 length = qFromBigEndian<quint32>(head.constData());
        const bool isWanted = QByteArrayList{"cICP", "iCCP", "sRGB", "gAMA", "cHRM"}.contains(type);
        if (isWanted && length <= mostBytes)
            found.insert(type, file.read(length));
        if (file.skip(isWanted && length <= mostBytes ? checksum : length + checksum) < checksum)
            break;
    }
    return found;
}

/// True for numbers of 32 bits that are all no further than `tolerance` from `expected`.
template <size_t Count>
bool isNear(const QByteArray &numbers, const std::array<int, Count> &expected, int tolerance)
{
    if (numbers.size() != static_cast<qsizetype>(4 * Count))
        return false;
    for (size_t i = 0; i < Count; ++i)
        if (std::abs(qFromBigEndian<qint32>(numbers.constData() + 4 * i) - expected[i]) > tolerance)
            return false;
    return true;
}

/// True if the file means sRGB, by the chunk of that name or by the gamma and primaries that the PNG standard
/// gives for programs that don't know it (PNG third edition, 11.3.2.5), as far as writers keep to them. In
/// 1/100,000.
bool meansSrgb(const Chunks &chunks)
{
    constexpr std::array gamma{45455};
    constexpr std::array whiteRedGreenBlue{31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    if (chunks.contains("iCCP"))
        return false;
    return chunks.contains("sRGB")
           || (isNear(chunks["gAMA"], gamma, 500)
               && (!chunks.contains("cHRM") || isNear(chunks["cHRM"], whiteRedGreenBlue, 500)));
}

/// The profile of an iCCP chunk, which is packed behind its name; empty if it is broken.
QByteArray profileOf(const QByteArray &chunk)
{
    const qsizetype packed = chunk.indexOf('\0') + 2;
    QByteArray profile;
    int status = Z_BUF_ERROR;
    for (uLongf room = 64 << 10; packed > 1 && status == Z_BUF_ERROR && room <= mostBytes; room *= 4) {
        uLongf length = room;
        profile.resize(static_cast<qsizetype>(room));
        status = uncompress(reinterpret_cast<Bytef *>(profile.data()), &length,
                            reinterpret_cast<const Bytef *>(chunk.constData()) + packed,
                            static_cast<uLong>(std::max<qsizetype>(chunk.size() - packed, 0)));
        profile.truncate(status == Z_OK ? static_cast<qsizetype>(length) : 0);
    }
    return profile;
}

} // namespace

QColorSpace pngColourSpace(QIODevice &file, const QColorSpace &read)
{
    const Chunks chunks = colourChunks(file);
    if (const QByteArray points = chunks["cICP"]; points.size() == 4) { // counts before all others
        const QColorSpace space =
            Colour::colourSpace({static_cast<uchar>(points[0]), static_cast<uchar>(points[1])});
        if (!space.iccProfile().isEmpty())
            return space;
    }
    if (const QByteArray profile = profileOf(chunks["iCCP"]); !profile.isEmpty())
        return QColorSpace::fromIccProfile(profile);
    return meansSrgb(chunks) ? QColorSpace(QColorSpace::SRgb) : read;
}
