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
    QImage image = request.late ? request.late() : request.pixmap.toImage();
    ReplacementFile file(request.fileName);
    if (image.isNull() || !file.create())
        return;
    const QByteArray format = QFileInfo(request.fileName).suffix().toLower().toLatin1();
    const MemoryBudget::Share share(static_cast<qint64>(image.width()) * image.height()
                                        * ImageWriting::bytesPerPixel(format),
                                    MemoryBudget::Patience::Long);
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
    addRequest({pixmap, fileName, source});
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
