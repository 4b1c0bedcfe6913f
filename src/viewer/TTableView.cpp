#include "viewer/TTableView.h"

#include <QEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <cstdlib>

TTableView::TTableView(QWidget *parent)
    : QTableView(parent)
{
    setFocusPolicy(Qt::NoFocus); // or the Tab key would end here
}

void TTableView::keepInPlace(const std::function<void()> &change)
{
    const QModelIndexList selected = selectionModel()->selectedIndexes();
    const int column = selected.isEmpty() ? -1 : selected.first().column();
    const int position = horizontalScrollBar()->value();
    change();
    if (column >= 0)
        selectColumn(column);
    horizontalScrollBar()->setValue(position);
}

bool TTableView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease))
        return true;
    return QTableView::eventFilter(watched, event);
}

void TTableView::showEvent(QShowEvent *event)
{
    QTableView::showEvent(event);
    installEventFilter(this);
}

/// The wheel moves the strip to its sides, whichever way it turns.
void TTableView::wheelEvent(QWheelEvent *event)
{
    const QPoint turn = event->angleDelta();
    if (std::abs(turn.x()) >= std::abs(turn.y())) {
        QTableView::wheelEvent(event);
        return;
    }
    QWheelEvent sideways(event->position(), event->globalPosition(), event->pixelDelta().transposed(),
                         turn.transposed(), event->buttons(), event->modifiers(), event->phase(),
                         event->inverted(), event->source(), event->pointingDevice());
    QTableView::wheelEvent(&sideways);
}
