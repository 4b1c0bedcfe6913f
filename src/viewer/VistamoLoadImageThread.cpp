#include "viewer/VistamoLoadImageThread.h"

#include "shared/ImageReading.h"

#include <QElapsedTimer>

#include <utility>

namespace {

constexpr size_t mostWaiting = 10;
constexpr qint64 deadAfterMs = 15000;

qint64 steadyMs()
{
    QElapsedTimer clock;
    clock.start();
    return clock.msecsSinceReference();
}

} // namespace

VistamoLoadImageThread::VistamoLoadImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("LoadImage"));
}

void VistamoLoadImageThread::addFile(const QString &path)
{
    fileNameList.pushReplacingNewest(path, mostWaiting);
}

QStringList VistamoLoadImageThread::takeWaiting()
{
    QStringList waiting;
    while (auto path = fileNameList.tryTake())
        waiting.append(*path);
    return waiting;
}

bool VistamoLoadImageThread::hangs() const
{
    const qint64 since = inHandSince;
    return since != 0 && steadyMs() - since > deadAfterMs;
}

void VistamoLoadImageThread::run()
{
    while (!stopRequested) {
        const auto path = fileNameList.tryTake();
        if (!path)
            return;
        inHandSince = steadyMs();
        QImage image = ImageReading::read(*path);
        inHandSince = 0;
        // A thread that was left behind may come to here after the program's windows are gone.
        if (!stopRequested)
            emit imageLoaded(QPixmap::fromImage(std::move(image)));
    }
}
