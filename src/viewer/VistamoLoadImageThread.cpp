#include "viewer/VistamoLoadImageThread.h"

#include "shared/ImageReading.h"

#include <QElapsedTimer>
#include <QFileInfo>

namespace {

constexpr size_t mostWaiting = 10;
// Longer than a picture waits for memory.
constexpr qint64 deadAfterMs = 30000;

bool isReady(const ImageRequest &request)
{
    if (request.pixmap.isNull())
        return false;
    const QFileInfo file(request.path);
    return request.isSameFile({request.path, file.size(), file.lastModified()});
}

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

void VistamoLoadImageThread::addFile(const ImageRequest &request)
{
    fileNameList.pushReplacingNewest(request, mostWaiting);
}

QList<ImageRequest> VistamoLoadImageThread::takeWaiting()
{
    QList<ImageRequest> waiting;
    while (auto request = fileNameList.tryTake())
        waiting.append(*request);
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
        const auto request = fileNameList.tryTake();
        if (!request)
            return;
        inHandSince = steadyMs();
        const QPixmap pixmap =
            isReady(*request) ? request->pixmap : QPixmap::fromImage(ImageReading::read(request->path));
        inHandSince = 0;
        // A thread that was left behind may come to here after the program's windows are gone.
        if (!stopRequested)
            emit imageLoaded(pixmap);
    }
}
