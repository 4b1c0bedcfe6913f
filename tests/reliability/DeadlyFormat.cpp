#include <QImage>
#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <vector>

/// As a decoder without sanitizers, which would end the program in a way of their own.
[[gnu::no_sanitize("undefined", "address")]] static void writeWhereNobodyMay()
{
    volatile int *volatile nowhere = nullptr; // as nobody knows who compiles it
    *nowhere = 1;
}

/// Reads files that begin with "DEADLY": what follows says how their decoder fails.
class DeadlyHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return true; }
    bool read(QImage *) override
    {
        const QByteArray how = device()->readAll().mid(7);
        if (how == "late") {
            QThread::sleep(1);
            return false;
        }
        if (how == "abort" || how == "crash")
            QThread::msleep(100); // by now another is in decoding
        if (how == "abort")
            std::abort();
        if (how == "crash")
            writeWhereNobodyMay();
        constexpr int bytes = 1 << 16;
        std::vector<std::vector<char>> eaten;
        while (how.startsWith("eat") && (how == "eat all" || eaten.size() < (7U << 28U) / bytes))
            eaten.emplace_back(bytes, 'x');
        if (how == "eat most") { // as the system does it
            QThread::msleep(50);
#ifdef SIGKILL
            raise(SIGKILL);
#endif
        }
        for (;;)
            QThread::msleep(10);
    }
};

class DeadlyFormat : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QImageIOHandlerFactoryInterface" FILE "deadly.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &) const override
    {
        return device && device->isReadable() && device->peek(6) == "DEADLY" ? CanRead : Capabilities();
    }
    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new DeadlyHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "DeadlyFormat.moc"
