#include "formats/jxl/JxlMetadata.h"
#include "formats/jxl/JxlReader.h"
#include "formats/jxl/JxlWriter.h"

#include <QImageIOPlugin>
#include <QVariant>

#include <optional>

namespace {

class JxlHandler : public QImageIOHandler
{
public:
    bool canRead() const override
    {
        if (reader)
            return !done;
        const bool found = device() && JxlReader::canRead(*device());
        if (found)
            setFormat("jxl");
        return found;
    }

    bool read(QImage *image) override
    {
        if (!canRead())
            return false;
        *image = source().read();
        done = true;
        return !image->isNull();
    }

    bool write(const QImage &image) override { return JxlWriter::write(image, *device(), quality, metadata); }

    bool supportsOption(ImageOption option) const override
    {
        return option == Size || option == ImageFormat || option == Quality || option == Description;
    }

    QVariant option(ImageOption option) const override
    {
        switch (option) {
        case Size:
            return canRead() ? QVariant(source().size()) : QVariant();
        case ImageFormat:
            return canRead() ? QVariant(source().imageFormat()) : QVariant();
        case Quality:
            return quality;
        case Description:
            return canRead() ? Jxl::readMetadata(*device()).description() : QVariant();
        default:
            return {};
        }
    }

    void setOption(ImageOption option, const QVariant &value) override
    {
        if (option == Quality)
            quality = value.toInt();
        else if (option == Description)
            metadata = MetadataBlocks::of(value.toString());
    }

private:
    JxlReader &source() const
    {
        if (!reader)
            reader.emplace(*device());
        return *reader;
    }

    mutable std::optional<JxlReader> reader;
    int quality = -1;
    MetadataBlocks metadata;
    bool done = false;
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
        return JxlReader::canRead(*device) ? CanRead : Capabilities();
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
