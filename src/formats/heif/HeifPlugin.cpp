#include "formats/heif/HeifReader.h"
#include "formats/heif/HeifWriter.h"

#include <QImageIOPlugin>
#include <QVariant>

#include <optional>

namespace {

class HeifHandler : public QImageIOHandler
{
public:
    bool canRead() const override
    {
        if (reader)
            return !done;
        const QByteArray found = device() ? HeifReader::format(*device()) : QByteArray();
        if (!found.isEmpty())
            setFormat(found);
        return !found.isEmpty();
    }

    bool read(QImage *image) override
    {
        if (!canRead())
            return false;
        *image = source().read(scaledSize);
        done = true;
        return !image->isNull();
    }

    bool write(const QImage &image) override
    {
        const auto coding = format() == "avif" ? HeifWriter::Coding::Av1 : HeifWriter::Coding::Hevc;
        return HeifWriter::write(image, *device(), coding, quality, metadata);
    }

    bool supportsOption(ImageOption option) const override
    {
        return option == Size || option == ImageFormat || option == ScaledSize || option == Quality
               || option == Description;
    }

    QVariant option(ImageOption option) const override
    {
        switch (option) {
        case Size:
            return canRead() ? QVariant(source().size()) : QVariant();
        case ImageFormat:
            return canRead() ? QVariant(source().imageFormat()) : QVariant();
        case ScaledSize:
            return scaledSize;
        case Quality:
            return quality;
        case Description:
            return canRead() ? source().metadata().description() : QVariant();
        default:
            return {};
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
    HeifReader &source() const
    {
        if (!reader)
            reader.emplace(*device());
        return *reader;
    }

    mutable std::optional<HeifReader> reader;
    QSize scaledSize;
    int quality = -1;
    MetadataBlocks metadata;
    bool done = false;
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
