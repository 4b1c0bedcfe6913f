#include "formats/heif/HeifReader.h"
#include "formats/heif/HeifWriter.h"
#include "formats/ReaderHandler.h"

#include <QImageIOPlugin>
#include <QVariant>

namespace {

class HeifHandler : public ReaderHandler<HeifReader>
{
public:
    bool write(const QImage &image) override
    {
        const auto coding = format() == "avif" ? HeifWriter::Coding::Av1 : HeifWriter::Coding::Hevc;
        return HeifWriter::write(image, *device(), coding, quality, metadata);
    }

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
            return canRead() ? source().metadata().description() : QVariant();
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
    QImage picture(HeifReader &from) override { return from.read(scaledSize); }

    QSize scaledSize;
    int quality = -1;
    MetadataBlocks metadata;
};

} // namespace

/// Reads and writes HEIC, HEIF and AVIF files.
class HeifPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "heif.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        if (format == "heic" || format == "heif" || format == "avif")
            return CanRead | CanWrite;
        if (!format.isEmpty() || !device || !device->isReadable())
            return {};
        return HeifReader::format(*device).isEmpty() ? Capabilities() : CanRead;
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new HeifHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "HeifPlugin.moc"
