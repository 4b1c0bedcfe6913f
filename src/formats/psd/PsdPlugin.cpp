#include "formats/psd/PsdReader.h"

#include <QImageIOPlugin>
#include <QVariant>

namespace {

class PsdHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return PsdReader::header(peeked(device())).has_value(); }
    bool read(QImage *image) override
    {
        *image = PsdReader::read(*device());
        return !image->isNull();
    }
    bool supportsOption(ImageOption option) const override { return option == Size || option == ImageFormat; }
    QVariant option(ImageOption option) const override
    {
        const auto header = PsdReader::header(peeked(device()));
        if (!header)
            return {};
        return option == Size          ? QVariant(header->size)
               : option == ImageFormat ? QVariant(PsdReader::imageFormat(*header))
                                       : QVariant();
    }

    static QByteArray peeked(QIODevice *device) { return device->peek(PsdReader::headerLength); }
};

} // namespace

class PsdPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "psd.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        if (!device)
            return format == "psd" || format == "psb" ? CanRead : Capabilities();
        return device->isReadable() && PsdReader::header(PsdHandler::peeked(device)) ? CanRead
                                                                                     : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &) const override
    {
        auto *const handler = new PsdHandler;
        handler->setDevice(device);
        handler->setFormat("psd");
        return handler;
    }
};

#include "PsdPlugin.moc"
