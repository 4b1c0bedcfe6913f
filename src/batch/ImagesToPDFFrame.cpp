#include "batch/ImagesToPDFFrame.h"

#include "library/FileDrop.h"

#include <QDropEvent>

void ImagesToPDFFrame::dragEnterEvent(QDragEnterEvent *event)
{
    FileDrop::enter(event);
}

void ImagesToPDFFrame::dragMoveEvent(QDragMoveEvent *event)
{
    event->accept();
}

void ImagesToPDFFrame::dropEvent(QDropEvent *event)
{
    emit addURLs(event->mimeData()->urls());
}
