#include "viewer/Exports.h"

void Exports::add(const QPixmap &picture, const QString &path, const QString &source)
{
    write({{picture, path, source}});
}

void Exports::add(const std::function<QImage()> &picture, const QString &path, const QString &source)
{
    write({{{}, path, source, picture}});
}

void Exports::make(const std::function<QImage()> &picture)
{
    const auto tell = [this, picture, number = ++lastMade] {
        const auto tellIfNewest = [this, number, image = picture()] {
            if (number == lastMade)
                emit made(image);
        };
        QMetaObject::invokeMethod(this, tellIfNewest, Qt::QueuedConnection);
        return QImage(); // nothing is written
    };
    add(tell, {}, {});
}

/// Hands requests to the thread that writes, or to a new one.
void Exports::write(const QList<TSaveImageRequest> &requests)
{
    using Thread = VistamoSaveImageThread;
    const bool running = saveImageThreadRunning();
    if (!running)
        saveImageThread.set(std::make_unique<Thread>());
    for (const TSaveImageRequest &request : requests)
        saveImageThread->addRequest(request);
    if (running)
        return;
    saveImageThread.start(QThread::InheritPriority, [this](Thread &ended) {
        // What was asked for while the thread was ending is written all the same.
        if (const auto waiting = ended.takeWaiting(); !waiting.isEmpty())
            write(waiting);
        else
            emit finished();
    });
}

void Exports::finish()
{
    const std::unique_ptr<VistamoSaveImageThread> thread = saveImageThread.part();
    if (!thread)
        return;
    thread->wait();
    thread->writeRequests(); // asked for while it was ending
}
