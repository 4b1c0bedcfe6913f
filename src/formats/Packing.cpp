#include "formats/Packing.h"

#include <QIODevice>

#include <algorithm>
#include <limits>

#include <zlib.h>

QByteArray Packing::readAtMost(QIODevice &device, qint64 most)
{
    constexpr qint64 chunk = 4 << 20;
    QByteArray data;
    while (data.size() < most) {
        const QByteArray part = device.read(std::min(chunk, most - data.size()));
        if (part.isEmpty())
            break;
        data += part;
    }
    return data;
}

QByteArray Packing::inflated(QByteArrayView packed, qsizetype most)
{
    constexpr qsizetype highestRatio = 1032; // of deflate: 258 bytes from two bits
    constexpr qsizetype mostAtOnce = std::numeric_limits<uInt>::max();
    QByteArray data(std::min({most, packed.size() * highestRatio, mostAtOnce}), Qt::Uninitialized);
    z_stream stream{};
    if (data.isEmpty() || inflateInit(&stream) != Z_OK)
        return {};
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.data()));
    stream.avail_in = static_cast<uInt>(std::min(packed.size(), mostAtOnce));
    stream.next_out = reinterpret_cast<Bytef *>(data.data());
    stream.avail_out = static_cast<uInt>(data.size());
    inflate(&stream, Z_FINISH);
    data.truncate(data.size() - stream.avail_out);
    inflateEnd(&stream);
    return data;
}
