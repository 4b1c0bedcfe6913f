#include "formats/tiff/TiffReader.h"

#include <QImageIOPlugin>
#include <QVariant>

#include <optional>

namespace {

class TiffHandler : public QImageIOHandler
{
public:
    bool canRead() const override
    {
        const qint64 position = device()->pos();
        const bool needed = TiffReader::isNeeded(*device());
        return device()->seek(position) && needed;
    }
    bool read(QImage *image) override
    {
        *image = picture().image;
        return !image->isNull();
    }
    bool supportsOption(ImageOption option) const override { return option == ImageTransformation; }
    QVariant option(ImageOption option) const override
    {
        return option == ImageTransformation ? QVariant(int(picture().transformation)) : QVariant();
    }

private:
    const TiffReader::Picture &picture() const
    {
        if (!decoded)
            decoded = TiffReader::read(*device());
        return *decoded;
    }

    mutable std::optional<TiffReader::Picture> decoded;
};

} // namespace

/// Stands in for Qt's own TIFF plug-in where that fails, and so is used only where it is asked for by name.
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
