#include "formats/gif/GifEncoder.h"

#include <QImageIOPlugin>

namespace {

class GifHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return false; }
    bool read(QImage *) override { return false; }
    bool write(const QImage &image) override
    {
        return !image.isNull() && GifEncoder::write(image, *device());
    }
};

} // namespace

/// Adds writing to Qt's own GIF plug-in, which reads. Of two plug-ins with one key Qt drops the second, so
/// this one has a key of its own; it is asked about "gif" all the same.
class GifPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "gif.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return format == "gif" && (!device || device->isWritable()) ? CanWrite : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new GifHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "GifPlugin.moc"
