#include "viewer/TImageLabel.h"

#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

void TImageLabel::showImage(const QPixmap &full, const DisplayedImage &displayed)
{
    fullImage = full;
    displayedImage = displayed;
    smoothTile = QPixmap();
    smoothTileRect = QRect();
    clear(); // the text that the label starts with
    update();
}

void TImageLabel::setCropMode(bool on)
{
    cropMode = on;
    setMouseTracking(on);
}

void TImageLabel::mousePressEvent(QMouseEvent *)
{
    emit startDragImage(QCursor::pos());
}

void TImageLabel::mouseReleaseEvent(QMouseEvent *)
{
    emit endDragImage();
}

void TImageLabel::mouseMoveEvent(QMouseEvent *event)
{
    emit mouseMove(QCursor::pos(), event->pos());
}

void TImageLabel::wheelEvent(QWheelEvent *event)
{
    // Eighths of a degree; a turn of less than half a degree counts for nothing.
    const int degrees = qRound(event->angleDelta().y() / 8.0);
    if (degrees != 0)
        emit needToResizeImage(degrees > 0 ? 1 : -1);
}

void TImageLabel::leaveEvent(QEvent *)
{
    emit mouseLeave();
}

void TImageLabel::paintEvent(QPaintEvent *event)
{
    if (fullImage.isNull() || displayedImage.isNull()) {
        QLabel::paintEvent(event);
        return;
    }
    const QRect image = imageRect();
    const QRect exposed = event->rect() & image;
    if (exposed.isEmpty())
        return;
    QPainter painter(this);
    painter.setClipRect(exposed);
    painter.translate(image.topLeft());
    if (!displayedImage.pixels.isNull())
        painter.drawPixmap(QRect(QPoint(), displayedImage.size), displayedImage.pixels);
    else if (displayedImage.smooth)
        paintSmooth(painter, exposed.translated(-image.topLeft()));
    else
        paintFast(painter, exposed.translated(-image.topLeft()));
}

/// Where the picture lies in the label.
QRect TImageLabel::imageRect() const
{
    return {QPoint((width() - displayedImage.width()) / 2, (height() - displayedImage.height()) / 2),
            displayedImage.size};
}

void TImageLabel::paintFast(QPainter &painter, const QRect &exposed) const
{
    // Whole pixels of the picture, so that pieces painted one by one fit together.
    const qreal across = qreal(displayedImage.width()) / fullImage.width();
    const qreal down = qreal(displayedImage.height()) / fullImage.height();
    const QRectF wanted(exposed.x() / across, exposed.y() / down, exposed.width() / across,
                        exposed.height() / down);
    const QRect source = wanted.toAlignedRect() & fullImage.rect();
    const QRectF target(source.x() * across, source.y() * down, source.width() * across,
                        source.height() * down);
    painter.drawPixmap(target, fullImage, source);
}

void TImageLabel::paintSmooth(QPainter &painter, const QRect &exposed)
{
    if (!smoothTileRect.contains(exposed)) {
        // Half a view more on each side, so that panning seldom renders.
        const QRect visible = visibleRegion().boundingRect().translated(-imageRect().topLeft()) | exposed;
        const QSize margin = visible.size() / 4;
        smoothTileRect = visible.adjusted(-margin.width(), -margin.height(), margin.width(), margin.height())
                         & QRect(QPoint(), displayedImage.size);
        smoothTile = smoothPart(fullImage, displayedImage.size, smoothTileRect, devicePixelRatio());
    }
    painter.drawPixmap(smoothTileRect.topLeft(), smoothTile);
}
