#include "viewer/CropOverlay.h"

#include "viewer/CropGeometry.h"

#include <QPainter>
#include <QRegion>

#include <algorithm>

namespace {

constexpr QColor shade(0, 0, 0, 160);

/// The pixels that an outline from the rectangle's corner, one pixel wide, covers and encloses.
QRect withOutline(const QRect &rect)
{
    const QPoint corner = rect.topLeft();
    const QPoint opposite = corner + QPoint(rect.width(), rect.height());
    return {QPoint(std::min(corner.x(), opposite.x()), std::min(corner.y(), opposite.y())),
            QPoint(std::max(corner.x(), opposite.x()), std::max(corner.y(), opposite.y()))};
}

} // namespace

QRegion changedByCrop(const QRect &from, const QRect &to)
{
    constexpr int reach = cropHandleSide / 2 + 1;
    QRegion changed = QRegion(withOutline(from)) ^ withOutline(to);
    for (const QRect &rect : {withOutline(from), withOutline(to)}) {
        // The handles stand about the rectangle's last pixels, the outline's are one further.
        changed += QRegion(rect.adjusted(-reach, -reach, reach, reach))
                   - rect.adjusted(reach, reach, -reach - 1, -reach - 1);
    }
    return changed;
}

void paintCropOverlay(QPainter &painter, const QRect &view, const QRect &display)
{
    const QRect hole = withOutline(display);
    for (const QRect &shaded : QRegion(view) - hole)
        painter.fillRect(shaded, shade);

    painter.setClipRect(view, Qt::IntersectClip);
    painter.setPen(Qt::white);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(hole.adjusted(0, 0, -1, -1));
    painter.setBrush(Qt::blue);
    for (const QPoint corner :
         {display.topLeft(), display.topRight(), display.bottomLeft(), display.bottomRight()}) {
        constexpr int reach = cropHandleSide / 2;
        painter.drawRect(corner.x() - reach, corner.y() - reach, cropHandleSide, cropHandleSide);
    }
}
