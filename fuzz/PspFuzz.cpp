#include "formats/psp/PspReader.h"

#include <QBuffer>
#include <QImageReader>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t length)
{
    QImageReader::setAllocationLimit(64);
    QByteArray data(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(length));
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    PspReader::read(buffer);
    return 0;
}
