#include "shared/image/JpegMarkers.h"

#include <QBuffer>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {

constexpr int startOfImage = 0xd8;
constexpr int endOfImage = 0xd9;
constexpr int startOfScan = 0xda;

/// Goes through a file from marker to marker, in large steps.
class Walk
{
public:
    explicit Walk(QIODevice &file)
        : file(file)
    {
        file.seek(0);
    }

    /// The next marker, over whatever stands before it but for those that are a part of a scan; nothing at
    /// the end.
    std::optional<int> nextMarker()
    {
        while (skipToMarkerByte()) {
            int byte = 0xff;
            while (byte == 0xff) {
                if (!fill())
                    return {};
                byte = static_cast<uchar>(chunk[at++]);
            }
            // Not a stuffed byte, one that arithmetic coding may use, or a restart.
            if (byte > 1 && (byte < 0xd0 || byte > 0xd7))
                return byte;
        }
        return {};
    }

    /// Where the last marker stands, if one 0xff begins it.
    qint64 markerPosition() const { return chunkStart + at - 2; }

    /// Where the next byte stands.
    qint64 position() const { return chunkStart + at; }

    /// The bytes of the segment behind a marker; nothing if it reaches beyond the file. A length that does
    /// not even count itself is that of an empty one, as decoders have it.
    std::optional<QByteArray> segment()
    {
        const QByteArray length = take(2);
        if (length.size() < 2)
            return {};
        const int bytes = std::max(qFromBigEndian<quint16>(length.constData()) - 2, 0);
        QByteArray data = take(bytes);
        return bytes == data.size() ? std::optional(data) : std::nullopt;
    }

private:
    /// False at the end of the file.
    bool fill()
    {
        if (at < chunk.size())
            return true;
        chunkStart += chunk.size();
        chunk = file.read(1 << 16);
        at = 0;
        return !chunk.isEmpty();
    }

    bool skipToMarkerByte()
    {
        while (fill()) {
            const char *const from = chunk.constData() + at;
            if (const void *const found = std::memchr(from, 0xff, size_t(chunk.size() - at))) {
                at += static_cast<const char *>(found) - from + 1;
                return true;
            }
            at = chunk.size();
        }
        return false;
    }

    QByteArray take(qsizetype count)
    {
        QByteArray data;
        while (data.size() < count && fill()) {
            const QByteArray part = chunk.mid(at, count - data.size());
            data += part;
            at += part.size();
        }
        return data;
    }

    QIODevice &file;
    QByteArray chunk;
    qint64 chunkStart = 0;
    qsizetype at = 0;
};

bool isFrame(int marker)
{
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

bool isProgressive(int frame)
{
    return (frame & 3) == 2;
}

/// True for tables, comments, metadata and another scan.
bool mayFollowScan(int marker)
{
    return marker == 0xc4 || marker == 0xcc || (marker >= startOfScan && marker <= 0xdd)
           || (marker >= 0xe0 && marker <= 0xef) || marker == 0xfe;
}

/// True for a comment, and for what an application adds.
bool isAddition(int marker)
{
    return marker == 0xfe || (marker >= 0xe0 && marker <= 0xef);
}

/// What has to stay of an addition for the colours' sake, as a segment with its marker: nothing of most.
QByteArray colourStorage(int marker, const QByteArray &addition)
{
    if (marker == 0xe0 && addition.startsWith(QByteArray("JFIF", 5)) && addition.size() >= 14)
        return QByteArray("\xff\xe0\0\x10", 4) + addition.first(12) + QByteArray(2, 0); // no preview
    if (marker == 0xee && addition.startsWith("Adobe") && addition.size() >= 12)
        return QByteArray("\xff\xee\0\x0e", 4) + addition.first(12);
    return {};
}

int value(const QByteArray &bytes, qsizetype at)
{
    return static_cast<uchar>(bytes[at]);
}

/// Two bytes for each coefficient of the blocks of all components, from a frame's segment.
std::optional<qint64> bytesOfCoefficients(const QByteArray &frame)
{
    const qsizetype components = frame.size() >= 6 ? value(frame, 5) : 0;
    if (components < 1 || frame.size() < 6 + 3 * components)
        return {};
    const qint64 height = qFromBigEndian<quint16>(frame.constData() + 1);
    const qint64 width = qFromBigEndian<quint16>(frame.constData() + 3);
    qint64 mostAcross = 1;
    qint64 mostDown = 1;
    for (qsizetype i = 0; i < components; ++i) {
        mostAcross = std::max<qint64>(mostAcross, value(frame, 7 + 3 * i) >> 4);
        mostDown = std::max<qint64>(mostDown, value(frame, 7 + 3 * i) & 15);
    }
    const auto units = [](qint64 pixels, qint64 side) { return (pixels + side - 1) / side; };
    qint64 bytes = 0;
    for (qsizetype i = 0; i < components; ++i)
        bytes += 128 * units(width, 8 * mostAcross) * (value(frame, 7 + 3 * i) >> 4)
                 * units(height, 8 * mostDown) * (value(frame, 7 + 3 * i) & 15);
    return bytes;
}

} // namespace

std::optional<qint64> JpegMarkers::coefficientBytes(QIODevice &file)
{
    Walk walk(file);
    int frame = 0;
    QByteArray frameSegment;
    while (const auto marker = walk.nextMarker()) {
        if (*marker == startOfImage)
            continue;
        const auto segment = walk.segment();
        if (!segment)
            return {};
        if (isFrame(*marker)) {
            frame = *marker;
            frameSegment = *segment;
        } else if (*marker == startOfScan && frame != 0 && !segment->isEmpty()) {
            const auto bytes = bytesOfCoefficients(frameSegment);
            const bool isWhole = bytes && segment->at(0) == frameSegment[5];
            return isWhole && !isProgressive(frame) ? 0 : bytes;
        }
    }
    return {};
}

QList<qint64> JpegMarkers::scanEnds(QIODevice &file, qsizetype most)
{
    Walk walk(file);
    QList<qint64> ends;
    bool isScan = false;
    while (const auto marker = walk.nextMarker()) {
        if (isScan)
            ends += walk.markerPosition();
        isScan = *marker == startOfScan;
        if (ends.size() >= most || *marker == endOfImage)
            return ends;
        if (*marker == startOfImage)
            continue;
        if ((!ends.isEmpty() && !mayFollowScan(*marker)) || !walk.segment())
            return ends;
    }
    if (isScan)
        ends += file.size();
    return ends;
}

QByteArray JpegMarkers::cutAt(QIODevice &file, qint64 end)
{
    file.seek(0);
    return file.read(end) + "\xff\xd9";
}

QByteArray JpegMarkers::withoutMetadata(QByteArray file)
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    Walk walk(buffer);
    QByteArray bare;
    qint64 done = 0; // bytes of the file that are in `bare`, or left out
    const auto keepUntil = [&](qint64 end) { bare.append(file.constData() + done, end - done); };
    bare.reserve(file.size());
    while (const auto marker = walk.nextMarker()) {
        if (*marker == startOfImage)
            continue;
        if (*marker == endOfImage) {
            keepUntil(walk.position());
            return bare;
        }
        const qint64 begin = walk.markerPosition();
        const auto segment = walk.segment();
        if (!segment)
            break;
        if (isAddition(*marker)) {
            keepUntil(begin);
            bare += colourStorage(*marker, *segment);
            done = walk.position();
        }
    }
    return {};
}
