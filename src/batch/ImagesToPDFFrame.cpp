#include "batch/ImagesToPDFFrame.h"

#include "library/FileDrop.h"

#include <QDropEvent>

void ImagesToPDFFrame::dragEnterEvent(QDragEnterEvent *event)
{
    static_cast<void>(FileDrop::enter(event)); // files and folders go the same way
}

void ImagesToPDFFrame::dragMoveEvent(QDragMoveEvent *event)
{
    event->accept();
}

void ImagesToPDFFrame::dropEvent(QDropEvent *event)
{
    emit addURLs(event->mimeData()->urls());
}
