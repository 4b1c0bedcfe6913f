// Feeds bytes to the decoder of JPEG thumbnails.

#include "shared/image/JpegEighth.h"

#include <QImageReader>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    static_cast<void>(readJpegEighth(bytes));
    return 0;
}
