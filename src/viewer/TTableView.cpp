#include "viewer/TTableView.h"

#include <QEvent>

TTableView::TTableView(QWidget *parent)
    : QTableView(parent)
{
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
