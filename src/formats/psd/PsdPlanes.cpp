#include "formats/psd/PsdPlanes.h"
#include "formats/Packing.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace PsdReader {

namespace {

enum Compression : quint16
{
    Raw = 0,
    RunLength = 1,
    Zip = 2,
    ZipWithPrediction = 3
};

qsizetype packedLengthSize(const Header &header)
{
    return header.large ? 4 : 2;
}

} // namespace

Planes::Planes(const Header &header, int used, QIODevice &device)
    : header(header)
    , rowLength((static_cast<qsizetype>(header.size.width()) * header.depth + 7) / 8)
    , needed(rowLength * header.size.height() * used)
{
    QDataStream(&device) >> compression;
    const qsizetype lengths = packedLengthSize(header) * header.size.height() * header.channels;
    // A careless writer of runs doubles what does not shrink.
    data = Packing::readAtMost(device, compression == Raw ? needed : 2 * needed + 1024 + lengths);
    if (compression == RunLength)
        findPackedRows(used);
    else if ((compression == Zip || compression == ZipWithPrediction) && plausible())
        data = Packing::inflated(data, needed);
}

bool Planes::plausible() const
{
    const qsizetype highestRatio = compression == Raw ? 1 : compression == RunLength ? 64 : 1032;
    return compression <= ZipWithPrediction && data.size() * highestRatio >= needed / 4;
}

void Planes::findPackedRows(int used)
{
    const qsizetype size = packedLengthSize(header);
    const qsizetype rows = static_cast<qsizetype>(header.size.height()) * used;
    qsizetype start = size * header.size.height() * header.channels;
    if (start > data.size())
        return;
    packedRows.reserve(rows + 1);
    packedRows.push_back(start);
    for (qsizetype row = 0; row < rows; ++row) {
        const char *const length = data.constData() + row * size;
        start += size == 4 ? qFromBigEndian<quint32>(length) : qFromBigEndian<quint16>(length);
        packedRows.push_back(start);
    }
}

bool Planes::unpack(QByteArrayView packed)
{
    buffer.resize(rowLength);
    qsizetype made = 0;
    qsizetype at = 0;
    while (at < packed.size() && made < rowLength) {
        const auto code = static_cast<qint8>(packed[at++]);
        const bool repeats = code < 0;
        const qsizetype count = std::min<qsizetype>(repeats ? 1 - code : code + 1, rowLength - made);
        if (code == -128)
            continue;
        if (packed.size() - at < (repeats ? 1 : count))
            return false;
        if (repeats)
            std::memset(buffer.data() + made, packed[at], count);
        else
            std::memcpy(buffer.data() + made, packed.data() + at, count);
        at += repeats ? 1 : count;
        made += count;
    }
    return made == rowLength;
}

void Planes::undoPrediction()
{
    auto *const bytes = reinterpret_cast<uchar *>(buffer.data());
    const int width = header.size.width();
    if (header.depth == 16) {
        quint16 sum = 0;
        for (int x = 0; x < width; ++x) {
            sum += qFromBigEndian<quint16>(bytes + 2 * x);
            qToBigEndian(sum, bytes + 2 * x);
        }
        return;
    }
    for (qsizetype i = 1; i < rowLength; ++i)
        bytes[i] += bytes[i - 1];
    if (header.depth != 32)
        return;
    // The highest bytes of all samples come first, then the second highest.
    const QByteArray split = buffer;
    for (int x = 0; x < width; ++x)
        for (qsizetype byte = 0; byte < 4; ++byte)
            buffer[4 * x + byte] = split[byte * width + x];
}

std::optional<QByteArrayView> Planes::row(int channel, int y)
{
    const qsizetype index = static_cast<qsizetype>(channel) * header.size.height() + y;
    if (compression == RunLength) {
        if (index + 1 >= static_cast<qsizetype>(packedRows.size()) || packedRows[index + 1] > data.size())
            return {};
        const auto packed =
            QByteArrayView(data).sliced(packedRows[index], packedRows[index + 1] - packedRows[index]);
        return unpack(packed) ? std::optional<QByteArrayView>(buffer) : std::nullopt;
    }
    if (data.size() < (index + 1) * rowLength)
        return {};
    const auto stored = QByteArrayView(data).sliced(index * rowLength, rowLength);
    if (compression != ZipWithPrediction || header.depth == 1)
        return stored;
    buffer = stored.toByteArray();
    undoPrediction();
    return buffer;
}

} // namespace PsdReader
