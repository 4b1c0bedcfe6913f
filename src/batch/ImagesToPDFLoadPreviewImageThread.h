#pragma once

#include "shared/threads/StoppableThread.h"

#include <QImage>
#include <QSize>
#include <QString>

/// Answers for a file without a thumbnail: with nothing, since the list has asked for one already.
class ImagesToPDFLoadPreviewImageThread : public StoppableThread
{
    Q_OBJECT

public:
    using StoppableThread::StoppableThread;

    QString fileName;
    QSize previewSize; ///< of the label, pixels

signals:
    void updatePreviewImage(QImage image);

protected:
    void run() override
    {
        if (!stopRequested)
            emit updatePreviewImage(QImage());
    }
};
