#include "formats/psp/PspReader.h"

#include <QImageIOPlugin>
#include <QVariant>

namespace {

class PspHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return PspReader::header(peeked(device())).has_value(); }
    bool read(QImage *image) override
    {
        *image = PspReader::read(*device());
        return !image->isNull();
    }
    bool supportsOption(ImageOption option) const override { return option == Size; }
    QVariant option(ImageOption option) const override
    {
        const auto header = PspReader::header(peeked(device()));
        return option == Size && header ? QVariant(header->size) : QVariant();
    }

    static QByteArray peeked(QIODevice *device) { return device->peek(PspReader::headerLength); }
};

} // namespace

class PspPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "psp.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        if (!device)
            return format == "psp" || format == "pspimage" ? CanRead : Capabilities();
        return device->isReadable() && PspReader::header(PspHandler::peeked(device)) ? CanRead
                                                                                     : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &) const override
    {
        auto *const handler = new PspHandler;
        handler->setDevice(device);
        handler->setFormat("psp");
        return handler;
    }
};

#include "PspPlugin.moc"
