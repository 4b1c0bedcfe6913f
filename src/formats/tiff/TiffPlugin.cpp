#include "formats/tiff/TiffReader.h"

#include <QImageIOPlugin>
#include <QVariant>

#include <optional>

namespace {

class TiffHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return !source().size().isEmpty(); }

    bool read(QImage *image) override
    {
        *image = source().read();
        return !image->isNull();
    }

    bool supportsOption(ImageOption option) const override
    {
        return option == Size || option == ImageFormat || option == ImageTransformation
               || option == Description;
    }

    QVariant option(ImageOption option) const override
    {
        switch (option) {
        case Size:
            return source().size();
        case ImageFormat:
            return source().imageFormat();
        case ImageTransformation:
            return int(source().transformation());
        case Description: // for who keeps account of memory
            return QStringLiteral("DecodingBytes: %1").arg(source().bufferBytes());
        default:
            return {};
        }
    }

private:
    const TiffReader &source() const
    {
        if (!reader)
            reader.emplace(*device());
        return *reader;
    }

    mutable std::optional<TiffReader> reader;
};

} // namespace

/// Reads TIFF files, where it is asked for by name: Qt's own plug-in holds the key "tiff", and takes some
/// kinds for others.
class TiffPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "tiff.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return format == "orrelan-tiff" && (!device || device->isReadable()) ? CanRead : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new TiffHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "TiffPlugin.moc"
