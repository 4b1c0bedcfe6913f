#include "formats/jxl/JxlReader.h"

#include <QBuffer>
#include <QImageReader>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    JxlReader::canRead(buffer);
    JxlReader reader(buffer);
    reader.size();
    reader.read();
    return 0;
}
