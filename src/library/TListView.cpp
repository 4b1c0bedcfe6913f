#include "library/TListView.h"

#include "library/FileDrop.h"

#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QScrollBar>

TListView::TListView(QWidget *parent)
    : QListView(parent)
{
    setAcceptDrops(true);
}

void TListView::keyPressEvent(QKeyEvent *event)
{
    QListView::keyPressEvent(event); // has changed the box by now
    if (event->key() == Qt::Key_Space && currentIndex().isValid())
        emit clicked(currentIndex());
}

void TListView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        QMouseEvent leftPress(QEvent::MouseButtonPress, event->position(), mapToGlobal(event->position()),
                              Qt::LeftButton, Qt::LeftButton, event->modifiers(),
                              QPointingDevice::primaryPointingDevice());
        QAbstractItemView::mousePressEvent(&leftPress);
        emit rightMouseButtonPressEvent(event->pos());
        return;
    }
    if (event->button() == Qt::LeftButton)
        emit leftMouseButtonPressEvent(event->pos());
    QAbstractItemView::mousePressEvent(event);
}

void TListView::dragEnterEvent(QDragEnterEvent *event)
{
    isDirDrop = FileDrop::enter(event);
}

void TListView::dragMoveEvent(QDragMoveEvent *event)
{
    event->accept();
}

void TListView::dropEvent(QDropEvent *event)
{
    FileDrop::drop(event->mimeData(), isDirDrop, this);
}

void TListView::scrollContentsBy(int dx, int dy)
{
    QListView::scrollContentsBy(dx, dy);
    emit contentScrolledEvent(verticalScrollBar()->value());
}
