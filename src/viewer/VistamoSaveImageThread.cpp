#include "viewer/VistamoSaveImageThread.h"

#include "shared/image/ImageWriting.h"
#include "shared/image/MemoryBudget.h"
#include "shared/platform/ReplacementFile.h"

#include <QColorSpace>
#include <QFileInfo>
#include <QtDebug>

namespace {

void save(const TSaveImageRequest &request)
{
    ReplacementFile file(request.fileName);
    if (!file.create())
        return;
    const QByteArray format = QFileInfo(request.fileName).suffix().toLower().toLatin1();
    const QSize size = request.pixmap.size();
    const MemoryBudget::Share share(static_cast<qint64>(size.width()) * size.height()
                                        * ImageWriting::bytesPerPixel(format),
                                    MemoryBudget::Patience::Long);
    QImage image = request.pixmap.toImage();
    image.setColorSpace(QColorSpace::SRgb); // in which pictures are on show
    if (ImageWriting::write(ImageWriting::fitted(image, format), format, -1, request.source, file))
        static_cast<void>(file.commit()); // it tells of a failure itself
    else
        qDebug() << "Cannot write" << request.fileName;
}

} // namespace

VistamoSaveImageThread::VistamoSaveImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("SaveImage"));
}

void VistamoSaveImageThread::addRequest(QPixmap pixmap, QString fileName, QString source)
{
    requestList.push({pixmap, fileName, source});
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
