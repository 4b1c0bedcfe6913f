#include "viewer/DisplayedImage.h"

#include <QImage>
#include <QRectF>

namespace {

constexpr qint64 area(QSize size)
{
    return qint64(size.width()) * size.height();
}

} // namespace

bool isKeptWhole(QSize displayed, QSize viewport)
{
    return area(displayed) <= 2 * area(viewport);
}

QPixmap smoothPart(const QPixmap &full, QSize displayed, QRect part, qreal ratio)
{
    part &= QRect(QPoint(), displayed);
    if (full.isNull() || part.isEmpty())
        return {};
    if (full.size() == displayed && ratio == 1.0)
        return part.size() == displayed ? full : full.copy(part);

    const qreal across = qreal(full.width()) / displayed.width();
    const qreal down = qreal(full.height()) / displayed.height();
    const QRectF exact(part.x() * across, part.y() * down, part.width() * across, part.height() * down);
    const QRect source = exact.toAlignedRect() & full.rect();
    const QSize target = part.size() * ratio;

    const QImage cut = (source == full.rect() ? full : full.copy(source)).toImage();
    QPixmap scaled = QPixmap::fromImage(cut.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    scaled.setDevicePixelRatio(ratio);
    return scaled;
}
