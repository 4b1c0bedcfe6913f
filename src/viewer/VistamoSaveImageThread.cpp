#include "viewer/VistamoSaveImageThread.h"

#include "shared/image/ImageWriting.h"
#include "shared/platform/ReplacementFile.h"

#include <QFileInfo>
#include <QImageWriter>
#include <QtDebug>

namespace {

void save(const TSaveImageRequest &request)
{
    ReplacementFile file(request.fileName);
    if (!file.create())
        return;
    const QByteArray format = QFileInfo(request.fileName).suffix().toLower().toLatin1();
    QImageWriter writer(&file, format);
    writer.setOptimizedWrite(true);
    writer.setProgressiveScanWrite(true);
    if (writer.write(ImageWriting::fitted(request.pixmap.toImage(), format)))
        static_cast<void>(file.commit()); // it tells of a failure itself
    else
        qDebug() << "Cannot encode" << request.fileName << writer.errorString();
}

} // namespace

VistamoSaveImageThread::VistamoSaveImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("SaveImage"));
}

void VistamoSaveImageThread::addRequest(QPixmap pixmap, QString fileName)
{
    requestList.push({pixmap, fileName});
}

void VistamoSaveImageThread::writeRequests()
{
    while (!stopRequested) {
        const auto request = requestList.tryTake();
        if (!request)
            return;
        save(*request);
    }
}
