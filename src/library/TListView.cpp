#include "library/TListView.h"

#include "library/FileDrop.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointingDevice>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr int scrollMs = 120;

} // namespace

TListView::TListView(QWidget *parent)
    : QListView(parent)
{
    setAcceptDrops(true);
    scrolling.setTargetObject(verticalScrollBar());
    scrolling.setPropertyName("value");
    scrolling.setDuration(scrollMs);
    scrolling.setEasingCurve(QEasingCurve::OutCubic);
}

void TListView::setEmptyText(const QString &text)
{
    emptyText = text;
    viewport()->update();
}

void TListView::paintEvent(QPaintEvent *event)
{
    QListView::paintEvent(event);
    if (model() && model()->rowCount() > 0)
        return;
    QPainter painter(viewport());
    QColor grey = palette().color(QPalette::Text);
    grey.setAlphaF(0.65F);
    painter.setPen(grey);
    painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap, emptyText);
}

/// A notch moves the list by a third of a row; with Ctrl it changes the size of the icons.
void TListView::wheelEvent(QWheelEvent *event)
{
    const int turn = event->angleDelta().y();
    event->accept();
    if (turn == 0)
        return;
    if (event->modifiers() & Qt::ControlModifier) {
        if (const int step = wheel.add(turn))
            emit zoomRequested(step);
        return;
    }
    const QRect first = model() ? visualRect(model()->index(0, 0)) : QRect();
    const bool isMoving = scrolling.state() == QAbstractAnimation::Running;
    const qreal from = isMoving || qRound(wheelTarget) == verticalScrollBar()->value()
                           ? wheelTarget
                           : verticalScrollBar()->value();
    wheelTarget = std::clamp<qreal>(from - (first.height() + spacing()) / 3.0 * turn / WheelNotches::notch, 0,
                                    verticalScrollBar()->maximum());
    scrolling.stop();
    if (std::abs(turn) < WheelNotches::notch) { // fingers move smoothly by themselves
        verticalScrollBar()->setValue(qRound(wheelTarget));
        return;
    }
    scrolling.setStartValue(verticalScrollBar()->value());
    scrolling.setEndValue(qRound(wheelTarget));
    scrolling.start();
}

void TListView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier && isSearching()
        && rowThatBeginsWith(typed + u' ', 0) >= 0) {
        keyboardSearch(QStringLiteral(" ")); // a part of the name
        return;
    }
    QListView::keyPressEvent(event); // has changed the box by now
    if (event->key() == Qt::Key_Space && currentIndex().isValid())
        emit clicked(currentIndex());
}

void TListView::keyboardSearch(const QString &search)
{
    if (!isSearching())
        typed.clear();
    sinceTyped.start();
    typed += search;
    // A letter by itself goes on from file to file.
    const int first = currentIndex().row() + (typed.size() == 1 ? 1 : 0);
    if (const int row = rowThatBeginsWith(typed, std::max(first, 0)); row >= 0)
        setCurrentIndex(model()->index(row, 0));
}

bool TListView::isSearching() const
{
    return sinceTyped.isValid() && !sinceTyped.hasExpired(QApplication::keyboardInputInterval());
}

int TListView::rowThatBeginsWith(const QString &text, int first) const
{
    const int count = model()->rowCount();
    for (int i = 0; i < count; ++i) {
        const int row = (first + i) % count;
        const QString name = model()->index(row, 0).data().toString().remove(u'\n');
        if (name.startsWith(text, Qt::CaseInsensitive))
            return row;
    }
    return -1;
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
    if (verticalScrollBar()->value() != scrolling.currentValue().toInt())
        scrolling.stop(); // something else moves the list
    QListView::scrollContentsBy(dx, dy);
    emit contentScrolledEvent(verticalScrollBar()->value());
}
