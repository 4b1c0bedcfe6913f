#include "viewer/TImageLabel.h"

#include "viewer/CropOverlay.h"

#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

void TImageLabel::showImage(const QPixmap &full, const DisplayedImage &displayed,
                            const std::optional<QRect> &crop)
{
    if (!text().isEmpty())
        clear(); // what the label starts with
    const bool same = fullImage.cacheKey() == full.cacheKey() && displayedImage.isSameAs(displayed);
    if (same && crop && cropDisplayRect)
        update(changedByCrop(*cropDisplayRect, *crop).translated(imageRect().topLeft()));
    else
        update();
    fullImage = full;
    displayedImage = displayed;
    cropDisplayRect = crop;
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
    QPainter painter(this);
    painter.translate(image.topLeft());
    for (const QRect &exposed : (event->region() & image).translated(-image.topLeft())) {
        painter.setClipRect(exposed); // or what has alpha would be painted twice at the edges
        paintImage(painter, fullImage, displayedImage, exposed);
    }
    painter.setClipping(false);
    if (cropDisplayRect)
        paintCropOverlay(painter, QRect(QPoint(), image.size()), *cropDisplayRect);
}

/// Where the picture lies in the label.
QRect TImageLabel::imageRect() const
{
    return {QPoint((width() - displayedImage.width()) / 2, (height() - displayedImage.height()) / 2),
            displayedImage.size};
}
