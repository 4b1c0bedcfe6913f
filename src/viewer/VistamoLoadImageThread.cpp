#include "viewer/VistamoLoadImageThread.h"

#include "shared/ImageReading.h"

namespace {

constexpr size_t mostWaiting = 10;

} // namespace

VistamoLoadImageThread::VistamoLoadImageThread(QObject *parent)
    : QThread(parent)
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

void VistamoLoadImageThread::run()
{
    while (!stopRequested) {
        const auto path = fileNameList.tryTake();
        if (!path)
            return;
        emit imageLoaded(QPixmap::fromImage(ImageReading::read(*path)));
    }
}
