#include "library/TListView.h"

#include "library/FileDrop.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QScrollBar>

#include <algorithm>

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

void TListView::keyboardSearch(const QString &search)
{
    if (!sinceTyped.isValid() || sinceTyped.hasExpired(QApplication::keyboardInputInterval()))
        typed.clear();
    sinceTyped.start();
    typed += search;
    // A letter by itself goes on from file to file.
    const int first = currentIndex().row() + (typed.size() == 1 ? 1 : 0);
    for (int i = 0; i < model()->rowCount(); ++i) {
        const QModelIndex index = model()->index((std::max(first, 0) + i) % model()->rowCount(), 0);
        if (index.data().toString().remove(u'\n').startsWith(typed, Qt::CaseInsensitive)) {
            setCurrentIndex(index);
            return;
        }
    }
}

/// Opens the menu also for the key that menus have, at the current file.
void TListView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        emit rightMouseButtonPressEvent(visualRect(currentIndex()).center());
    else
        QListView::contextMenuEvent(event);
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
