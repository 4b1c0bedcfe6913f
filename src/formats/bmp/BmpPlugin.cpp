#include "formats/bmp/BmpReader.h"
#include "formats/ReaderHandler.h"

#include <QImageIOPlugin>

/// Reads bitmaps, where it is asked for by name: Qt's own plug-in holds the key "bmp", and refuses some
/// kinds.
class BmpPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "bmp.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return format == "orrelan-bmp" && (!device || device->isReadable()) ? CanRead : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new ReaderHandler<BmpReader>;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "BmpPlugin.moc"
