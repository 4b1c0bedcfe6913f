#include "viewer/TImageLabel.h"

#include "shared/image/ColourScreens.h"
#include "viewer/CropOverlay.h"
#include "viewer/ViewGeometry.h"

#include <QCursor>
#include <QGestureEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QtMath>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

// A pixel's place that was worked out with fractions is off by less.
constexpr qreal rounding = 0.001;

/// The pixels that a region touches when it is moved by `way`, or by up to `more` further.
QRegion onWholePixels(const QRegion &region, QPointF way, int more)
{
    QRegion touched;
    for (const QRect &rect : region)
        touched += QRectF(rect).translated(way).adjusted(0, 0, more, more).toAlignedRect();
    return touched;
}

} // namespace

TImageLabel::TImageLabel(QWidget *parent)
    : QLabel(parent)
{
    grabGesture(Qt::PinchGesture);
}

void TImageLabel::showImage(const QPixmap &full, const DisplayedImage &displayed,
                            const std::optional<QRect> &crop)
{
    if (!text().isEmpty())
        clear(); // what the label starts with
    const bool same = fullImage.cacheKey() == full.cacheKey() && displayedImage.isSameAs(displayed);
    if (same && crop && cropDisplayRect)
        update(onWholePixels(changedByCrop(*cropDisplayRect, *crop), imageCorner(),
                             isWhole(devicePixelRatio()) ? 0 : 1));
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
    const int turn = event->angleDelta().y();
    if (const int step = turn != 0 ? wheel.add(turn) : 0)
        emit needToResizeImage(step);
}

bool TImageLabel::event(QEvent *event)
{
    if (event->type() == QEvent::NativeGesture) { // of a touchpad
        const auto *const gesture = static_cast<QNativeGestureEvent *>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture)
            pinch(1 + gesture->value());
    } else if (event->type() == QEvent::Gesture) { // of a touch screen
        if (const QGesture *const gesture = static_cast<QGestureEvent *>(event)->gesture(Qt::PinchGesture))
            pinch(static_cast<const QPinchGesture *>(gesture)->scaleFactor());
        return true;
    }
    return QLabel::event(event);
}

/// Makes a step of each tenth by which fingers go apart or together.
void TImageLabel::pinch(qreal factor)
{
    static const qreal step = std::log(1.1);
    pinched += std::log(std::max(factor, 0.1));
    for (; std::abs(pinched) >= step; pinched -= std::copysign(step, pinched))
        emit needToResizeImage(pinched > 0 ? 1 : -1);
}

void TImageLabel::leaveEvent(QEvent *)
{
    emit mouseLeave();
}

/// Where the picture lies on the screen's pixels depends on where the label begins.
void TImageLabel::moveEvent(QMoveEvent *event)
{
    QLabel::moveEvent(event);
    if (!isWhole(devicePixelRatio()))
        update();
}

void TImageLabel::paintEvent(QPaintEvent *event)
{
    if (fullImage.isNull() || displayedImage.isNull()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    // What has all the pixels of the screen is to lie on them, wherever the label begins.
    const QTransform toScreen = painter.deviceTransform();
    const QPointF corner = toScreen.map(imageCorner()) - QPointF(rounding, rounding);
    const QPoint screenCorner(qCeil(corner.x()), qCeil(corner.y()));
    const QTransform fromScreen = toScreen.inverted();
    QRegion exposed;
    for (const QRect &rect : event->region())
        exposed += toScreen.mapRect(QRectF(rect)).toAlignedRect().translated(-screenCorner);
    painter.setTransform(QTransform::fromTranslate(screenCorner.x(), screenCorner.y()) * fromScreen);
    for (const QRect &part : exposed &QRect(QPoint(), displayedImage.size)) {
        painter.setClipRect(part); // or what has alpha would be painted twice at the edges
        if (Colour::Screens::all().changes(screen()))
            paintInScreenColours(painter, part);
        else
            paintImage(painter, fullImage, displayedImage, part);
    }
    if (!cropDisplayRect)
        return;
    painter.setClipRect(QRect(QPoint(), displayedImage.size));
    painter.resetTransform();
    painter.translate(fromScreen.map(QPointF(screenCorner)));
    const QSizeF view = QSizeF(displayedImage.size) / devicePixelRatio();
    paintCropOverlay(painter, QRect(0, 0, qCeil(view.width()), qCeil(view.height())), *cropDisplayRect);
}

/// The same as `paintImage`, in the colours of the screen.
void TImageLabel::paintInScreenColours(QPainter &painter, const QRect &exposed) const
{
    QImage part(exposed.size(),
                fullImage.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    part.fill(Qt::transparent);
    QPainter onPart(&part);
    onPart.translate(-exposed.topLeft());
    paintImage(onPart, fullImage, displayedImage, exposed);
    onPart.end();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false); // pixel on pixel
    painter.drawImage(exposed.topLeft(), Colour::Screens::all().shown(part, screen()));
}

/// Where the picture lies in the label.
QPointF TImageLabel::imageCorner() const
{
    const QSizeF room = (QSizeF(size()) * devicePixelRatio() - QSizeF(displayedImage.size)) / 2;
    // On whole pixels where the label begins on one.
    return QPointF(std::floor(room.width()), std::floor(room.height())) / devicePixelRatio();
}
