#include "batch/ImagesToPDFTreeView.h"

#include "library/FileDrop.h"
#include "shared/VistamoGlobal.h"

#include <QDropEvent>

void ImagesToPDFTreeView::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->source() == this)
        event->setAccepted(VistamoGlobal().isImageFile(selectedPath));
    else
        event->setAccepted(FileDrop::bringsImages(event->mimeData()));
}

void ImagesToPDFTreeView::dragMoveEvent(QDragMoveEvent *event)
{
    setDropIndicatorShown(true);
    event->accept();
    QTreeView::dragMoveEvent(event);
}

void ImagesToPDFTreeView::dropEvent(QDropEvent *event)
{
    if (event->source() != this) {
        emit addURLs(event->mimeData()->urls());
        return;
    }
    if (dropIndicatorPosition() == AboveItem || dropIndicatorPosition() == BelowItem) {
        setDropIndicatorShown(false);
        QAbstractItemView::dropEvent(event);
    } else {
        // A drag that ends as a move takes the rows out of their old place.
        event->setDropAction(Qt::IgnoreAction);
        event->ignore();
    }
}
