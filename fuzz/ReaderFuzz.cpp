// Feeds bytes to the plug-in of one image format as the program does, which is linked in so that its
// coverage counts. PLUGIN is its class, FORMAT a name that it answers to.

#include <QBuffer>
#include <QImageReader>
#include <QtPlugin>

#define IMPORT(plugin) Q_IMPORT_PLUGIN(plugin)
IMPORT(PLUGIN)

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QSize scaled : {QSize(), QSize(8, 6)}) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, FORMAT);
        reader.setAutoDetectImageFormat(false);
        reader.setAutoTransform(true);
        if (scaled.isValid() && !reader.supportsOption(QImageIOHandler::ScaledSize))
            break;
        reader.setScaledSize(scaled);
        reader.size();
        reader.read();
    }
    return 0;
}
