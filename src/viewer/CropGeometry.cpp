#include "viewer/CropGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

struct Zone
{
    QRect rect;
    CropHit hit;
};

bool isInside(const QRect &zone, QPoint point)
{
    return point.x() > zone.left() && point.x() < zone.right() && point.y() > zone.top()
           && point.y() < zone.bottom();
}

/// Toward zero; what an int cannot hold becomes the nearest that it can, with room for adding to it.
int truncated(double value)
{
    constexpr double most = std::numeric_limits<int>::max() / 4;
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, -most, most));
}

} // namespace

QRect defaultCropRect(QSize full)
{
    if (full.isEmpty())
        return {};
    const QSize half(full.width() / 2, full.height() / 2);
    return {QPoint((full.width() - half.width()) / 2, (full.height() - half.height()) / 2), half};
}

QRect cropRectOnView(const QRect &crop, double scaleFactor)
{
    if (!std::isfinite(scaleFactor))
        return {};
    const auto scaled = [scaleFactor](int value) { return truncated(value * scaleFactor); };
    return {QPoint(scaled(crop.left()), scaled(crop.top())),
            QPoint(scaled(crop.right()), scaled(crop.bottom()))};
}

CropHit cropHit(const QRect &display, QPoint point)
{
    constexpr int reach = cropHandleSide / 2;
    const auto handle = [](int x, int y) {
        return QRect(x - reach, y - reach, cropHandleSide, cropHandleSide);
    };
    const auto [left, top, right, bottom] =
        std::array{display.left(), display.top(), display.right(), display.bottom()};
    const int width = display.width();
    const int height = display.height();
    const Zone zones[] = {
        {handle(left, top), {Qt::SizeFDiagCursor, false}},
        {handle(right, top), {Qt::SizeBDiagCursor, false}},
        {handle(left, bottom), {Qt::SizeBDiagCursor, true}},
        {handle(right, bottom), {Qt::SizeFDiagCursor, true}},
        {QRect(left - reach, top, cropHandleSide, height), {Qt::SizeHorCursor, false}},
        {QRect(right - reach, top, cropHandleSide, height), {Qt::SizeHorCursor, true}},
        {QRect(left, top - reach, width, cropHandleSide), {Qt::SizeVerCursor, false}},
        {QRect(left, bottom - reach, width, cropHandleSide), {Qt::SizeVerCursor, true}},
        {display, {Qt::SizeAllCursor, {}}},
    };
    for (const Zone &zone : zones) {
        if (isInside(zone.rect, point))
            return zone.hit;
    }
    return {};
}

CropResizeMode cropResizeModeFor(Qt::CursorShape cursor, bool farSide)
{
    switch (cursor) {
    case Qt::SizeAllCursor:
        return CRMove;
    case Qt::SizeHorCursor:
        return farSide ? CRRight : CRLeft;
    case Qt::SizeVerCursor:
        return farSide ? CRBottom : CRTop;
    case Qt::SizeFDiagCursor:
        return farSide ? CRBottomRight : CRTopLeft;
    case Qt::SizeBDiagCursor:
        return farSide ? CRBottomLeft : CRTopRight;
    default:
        return CRNone;
    }
}

QRect draggedCropRect(CropResizeMode mode, const QRect &crop, QSize full, double scaleFactor, QPoint moved,
                      QPoint at)
{
    if (!std::isfinite(scaleFactor) || scaleFactor <= 0)
        return crop;
    QRect dragged = crop;
    const double x = at.x() / scaleFactor;
    const double y = at.y() / scaleFactor;
    const auto moveLeft = [&] { dragged.setLeft(std::max(truncated(x), 0)); };
    const auto moveTop = [&] { dragged.setTop(std::max(truncated(y), 0)); };
    const auto moveRight = [&] {
        dragged.setWidth(std::min(truncated(x - crop.left()), full.width() - crop.left()));
    };
    const auto moveBottom = [&] {
        dragged.setHeight(std::min(truncated(y - crop.top()), full.height() - crop.top()));
    };
    switch (mode) {
    case CRMove:
        dragged.moveTo(std::max(crop.left() + truncated(moved.x() / scaleFactor), 0),
                       std::max(crop.top() + truncated(moved.y() / scaleFactor), 0));
        dragged.moveTo(std::min(dragged.left(), full.width() - crop.width()),
                       std::min(dragged.top(), full.height() - crop.height()));
        break;
    case CRLeft:
        moveLeft();
        break;
    case CRRight:
        moveRight();
        break;
    case CRTop:
        moveTop();
        break;
    case CRBottom:
        moveBottom();
        break;
    case CRTopLeft:
        moveLeft();
        moveTop();
        break;
    case CRTopRight:
        moveRight();
        moveTop();
        break;
    case CRBottomLeft:
        moveLeft();
        moveBottom();
        break;
    case CRBottomRight:
        moveRight();
        moveBottom();
        break;
    case CRNone:
        break;
    }
    return dragged;
}
