#include "formats/heif/HeifReader.h"

#include <QBuffer>
#include <QImageReader>

/// Few bytes for each broken picture, which libheif does not give back to the AV1 decoder.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libdav1d";
}

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
    HeifReader::format(buffer);
    HeifReader reader(buffer);
    const QSize full = reader.size();
    reader.read();
    if (!full.isEmpty())
        reader.read(full.scaled(8, 8, Qt::KeepAspectRatio));
    return 0;
}
