#include "formats/tiff/TiffReader.h"

#include <QBuffer>
#include <QImageReader>

#include <tiffio.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t length)
{
    QImageReader::setAllocationLimit(64);
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    QByteArray data(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(length));
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    TiffReader::read(buffer);
    return 0;
}
