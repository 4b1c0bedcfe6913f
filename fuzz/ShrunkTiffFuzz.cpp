// Holds TIFF pictures that are made smaller as their rows come against the means of the full ones.

#include "formats/tiff/TiffReader.h"
#include "support/Shrunk.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    constexpr int mostPixels = 300'000; // which are compared one by one
    // libtiff goes on where it was, and that may be in the middle of a broken strip.
    const auto read = [&](QSize scaled) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        return TiffReader(buffer).read(scaled);
    };
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const TiffReader reader(buffer);
    const QSize full = reader.size();
    if (!reader.canShrink() || qint64(full.width()) * full.height() > mostPixels)
        return 0;
    const QImage image = read({});
    for (const QSize scaled : {QSize(3, 2), QSize(8, 6), full * 2 / 3, QSize(1, full.height())}) {
        if (scaled.isEmpty() || scaled.boundedTo(full) != scaled)
            continue;
        const QImage shrunk = read(scaled);
        // What has no rows of its own libtiff may read another way, as a whole.
        if (!shrunk.isNull() && (shrunk.size() != scaled || !Shrunk::isOf(image, shrunk)))
            std::abort();
    }
    return 0;
}
