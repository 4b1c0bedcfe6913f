#include "formats/jxl/JxlMetadata.h"
#include "formats/jxl/JxlReader.h"
#include "formats/jxl/JxlWriter.h"
#include "formats/ReaderHandler.h"

#include <QImageIOPlugin>
#include <QVariant>

namespace {

class JxlHandler : public ReaderHandler<JxlReader>
{
public:
    bool write(const QImage &image) override { return JxlWriter::write(image, *device(), quality, metadata); }

    bool supportsOption(ImageOption option) const override
    {
        return option == ScaledSize || option == Quality || option == Description
               || ReaderHandler::supportsOption(option);
    }

    QVariant option(ImageOption option) const override
    {
        switch (option) {
        case ScaledSize:
            return scaledSize;
        case Quality:
            return quality;
        case Description:
            return canRead() ? Jxl::readMetadata(*device()).description() : QVariant();
        default:
            return ReaderHandler::option(option);
        }
    }

    void setOption(ImageOption option, const QVariant &value) override
    {
        if (option == ScaledSize)
            scaledSize = value.toSize();
        else if (option == Quality)
            quality = value.toInt();
        else if (option == Description)
            metadata = MetadataBlocks::of(value.toString());
    }

private:
    QImage picture(JxlReader &from) override { return from.read(scaledSize); }

    QSize scaledSize;
    int quality = -1;
    MetadataBlocks metadata;
};

} // namespace

/// Reads and writes JPEG XL files.
class JxlPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "jxl.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        if (format == "jxl")
            return CanRead | CanWrite;
        if (!format.isEmpty() || !device || !device->isReadable())
            return {};
        return JxlReader::format(*device).isEmpty() ? Capabilities() : CanRead;
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new JxlHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "JxlPlugin.moc"
