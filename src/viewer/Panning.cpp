#include "viewer/Panning.h"

#include <QAbstractScrollArea>
#include <QScrollBar>

#include <utility>

void Panning::moveTo(QPoint point, const QAbstractScrollArea &view)
{
    if (!imageDragPos)
        return;
    const QPoint way = std::exchange(*imageDragPos, point) - point;
    QScrollBar *const across = view.horizontalScrollBar();
    QScrollBar *const down = view.verticalScrollBar();
    across->setValue(across->value() + way.x());
    down->setValue(down->value() + way.y());
}
