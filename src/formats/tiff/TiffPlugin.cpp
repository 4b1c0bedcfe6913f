#include "formats/tiff/TiffReader.h"

#include <QImageIOPlugin>
#include <QVariant>

#include <optional>
#include <utility>

namespace {

class TiffHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return !source().size().isEmpty(); }

    bool read(QImage *image) override
    {
        // What is asked for later is asked for anew.
        *image = source().read(std::exchange(scaledSize, QSize()));
        return !image->isNull();
    }

    bool supportsOption(ImageOption option) const override
    {
        return option == Size || option == ImageFormat || option == ImageTransformation
               || option == Description || (option == ScaledSize && source().canShrink());
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
        case ScaledSize:
            return scaledSize;
        case Description: // for who keeps account of memory
            return QStringLiteral("DecodingBytes: %1").arg(source().bufferBytes());
        default:
            return {};
        }
    }

    void setOption(ImageOption option, const QVariant &value) override
    {
        const QSize wanted = option == ScaledSize ? value.toSize() : QSize();
        if (!wanted.isEmpty() && wanted.boundedTo(source().size()) == wanted && source().canShrink())
            scaledSize = wanted;
    }

private:
    const TiffReader &source() const
    {
        if (!reader)
            reader.emplace(*device());
        return *reader;
    }

    QSize scaledSize;
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
