#pragma once

#include "shared/image/ImageReading.h"
#include "shared/threads/StoppableThread.h"

#include <QImage>
#include <QString>

/// Decodes the file of a preview dialog.
class ImagesToPDFLoadFullPreviewImageThread : public StoppableThread
{
    Q_OBJECT

public:
    using StoppableThread::StoppableThread;

    QString fileName;

signals:
    /// The picture as ARGB32, null if it could not be read.
    void previewImageReady(QImage image);

protected:
    void run() override
    {
        if (stopRequested)
            return;
        QImage image = ImageReading::read(fileName);
        image.convertTo(QImage::Format_ARGB32);
        if (!stopRequested)
            emit previewImageReady(image);
    }
};
