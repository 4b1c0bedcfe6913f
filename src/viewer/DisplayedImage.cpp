#include "viewer/DisplayedImage.h"

#include <QImage>
#include <QPainter>
#include <QRectF>

#include <algorithm>

namespace {

// A view of up to this many viewports is kept in pixels: it can be panned without painting anything again.
constexpr qint64 viewportsKept = 2;

constexpr qint64 area(QSize size)
{
    return qint64(size.width()) * size.height();
}

} // namespace

QImage smoothPixels(const QImage &full, QSize size, QSize viewport)
{
    if (full.isNull() || size.isEmpty())
        return {};
    const int shrunk = std::min(full.width() / size.width(), full.height() / size.height());
    if (area(size) <= viewportsKept * area(viewport))
        return full.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (shrunk >= 2)
        return full.scaled(full.size() / shrunk, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return {};
}

DisplayedImage smoothImage(const QPixmap &full, QSize size, QSize viewport)
{
    return {size, true,
            size == full.size() ? full : QPixmap::fromImage(smoothPixels(full.toImage(), size, viewport))};
}

void paintImage(QPainter &painter, const QPixmap &full, const DisplayedImage &displayed, const QRect &exposed)
{
    const QPixmap &source = displayed.pixels.isNull() ? full : displayed.pixels;
    if (source.isNull() || displayed.isNull())
        return;
    // Whole pixels of the source with some around them for the filter, so that parts fit together.
    const qreal across = qreal(displayed.width()) / source.width();
    const qreal down = qreal(displayed.height()) / source.height();
    const QRectF wanted(exposed.x() / across, exposed.y() / down, exposed.width() / across,
                        exposed.height() / down);
    const QRect part = wanted.toAlignedRect().adjusted(-2, -2, 2, 2) & source.rect();
    const QRectF target(part.x() * across, part.y() * down, part.width() * across, part.height() * down);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, displayed.smooth);
    painter.drawPixmap(target, source, part);
}
