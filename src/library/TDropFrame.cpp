#include "library/TDropFrame.h"

#include "library/FileDrop.h"

#include <QDropEvent>

TDropFrame::TDropFrame(QWidget *parent)
    : QFrame(parent)
{
    setAcceptDrops(true);
}

void TDropFrame::dragEnterEvent(QDragEnterEvent *event)
{
    isDirDrop = FileDrop::enter(event);
}

void TDropFrame::dragMoveEvent(QDragMoveEvent *event)
{
    event->accept();
}

void TDropFrame::dropEvent(QDropEvent *event)
{
    FileDrop::drop(event->mimeData(), isDirDrop, this);
}
