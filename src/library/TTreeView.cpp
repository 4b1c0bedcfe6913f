#include "library/TTreeView.h"

#include "library/FileDrop.h"

#include <QDropEvent>
#include <QtDebug>

namespace {

const char *nameOf(TTreeView::DropPlace place)
{
    switch (place) {
    case TTreeView::DropPlace::OnItem:
        return "QAbstractItemView::OnItem";
    case TTreeView::DropPlace::AboveItem:
        return "QAbstractItemView::AboveItem";
    case TTreeView::DropPlace::BelowItem:
        return "QAbstractItemView::BelowItem";
    default:
        return nullptr;
    }
}

} // namespace

TTreeView::TTreeView(QWidget *parent)
    : QTreeView(parent)
{
    setAcceptDrops(true);
    setDragEnabled(true);
    restTimer.setSingleShot(true);
    restTimer.setInterval(restMs);
    connect(&restTimer, &QTimer::timeout, this, [this] {
        if (currentIndex().isValid())
            emit clicked(currentIndex());
    });
}

void TTreeView::keyPressEvent(QKeyEvent *event)
{
    const QModelIndex before = currentIndex();
    QTreeView::keyPressEvent(event);
    if (currentIndex() != before)
        restTimer.start();
}

void TTreeView::mousePressEvent(QMouseEvent *event)
{
    beforePress = currentIndex();
    QTreeView::mousePressEvent(event);
}

void TTreeView::startDrag(Qt::DropActions supportedActions)
{
    targetRow = -1;
    QTreeView::startDrag(supportedActions);
    if (targetRow < 0 && beforePress.isValid()) // the press had made the row the current one
        setCurrentIndex(beforePress);
}

void TTreeView::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->source() != this) {
        isDirDrop = FileDrop::enter(event);
        return;
    }
    sourceRow = currentIndex().row();
    qDebug() << "sourceItemIndex: " << sourceRow;
    event->accept();
}

void TTreeView::dragMoveEvent(QDragMoveEvent *event)
{
    if (event->source() == this) {
        setDropIndicatorShown(true);
        event->accept();
        QTreeView::dragMoveEvent(event);
    } else {
        event->accept();
    }
}

void TTreeView::dropEvent(QDropEvent *event)
{
    if (event->source() != this) {
        FileDrop::drop(event->mimeData(), isDirDrop, this);
        return;
    }
    // After a move action the view would take the row out once more.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    const auto place = static_cast<DropPlace>(dropIndicatorPosition());
    if (const char *const name = nameOf(place))
        qDebug() << name;
    targetRow = movedRow(sourceRow, indexAt(event->position().toPoint()).row(), place, model()->rowCount());
    if (targetRow < 0 || sourceRow < 0)
        return;
    emit needToMoveitem(sourceRow, targetRow);
    qDebug() << "sourceItemIndex: " << sourceRow;
    qDebug() << "sourceItemIndex: " << targetRow;
    setDropIndicatorShown(false);
}

int TTreeView::movedRow(int sourceRow, int row, DropPlace place, int rowCount)
{
    switch (place) {
    case DropPlace::AboveItem:
        return sourceRow < row ? row - 1 : row;
    case DropPlace::BelowItem:
        return sourceRow > row ? row + 1 : row;
    case DropPlace::OnViewport:
        return rowCount - 1;
    default:
        return row;
    }
}
