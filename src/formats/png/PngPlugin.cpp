#include "formats/png/MendedPng.h"

#include <QBuffer>
#include <QImageIOPlugin>
#include <QImageReader>

namespace {

class PngHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return device() && device()->peek(4) == "\x89PNG"; }

    bool read(QImage *image) override
    {
        QByteArray bytes = mendedPng(*device());
        QBuffer buffer(&bytes);
        return buffer.open(QIODevice::ReadOnly) && !bytes.isEmpty()
               && QImageReader(&buffer, "png").read(image);
    }
};

} // namespace

/// Reads what there is of a broken PNG file, where it is asked for by name: Qt's own plug-in holds the key
/// "png", and gives nothing then.
class PngPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "png.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return format == "orrelan-png" && (!device || device->isReadable()) ? CanRead : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new PngHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "PngPlugin.moc"
