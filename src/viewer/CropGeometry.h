#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <Qt>

#include <optional>

/// What a drag does to the crop rectangle.
enum CropResizeMode
{
    CRMove,
    CRLeft,
    CRRight,
    CRTop,
    CRBottom,
    CRTopLeft,
    CRTopRight,
    CRBottomLeft,
    CRBottomRight,
    CRNone
};

/// Side of the square handles at the corners, pixels of the view.
constexpr int cropHandleSide = 10;

/// The middle quarter of a picture of this size, pixels; null for an empty size.
[[nodiscard]] QRect defaultCropRect(QSize full);

/// The rectangle `crop` of the picture in pixels of the view. A scale that is no number gives null.
[[nodiscard]] QRect cropRectOnView(const QRect &crop, double scaleFactor);

/// What a drag would start on under the pointer.
struct CropHit
{
    Qt::CursorShape cursor = Qt::ArrowCursor;
    std::optional<bool>
        farSide; ///< the edge or corner is the right or bottom one; unset inside and elsewhere
    friend bool operator==(const CropHit &, const CropHit &) = default;
};

/// The part of the rectangle `display` at `point`, both in pixels of the view. Corners go before edges, edges
/// before the inside; a zone's outermost pixels are not part of it.
[[nodiscard]] CropHit cropHit(const QRect &display, QPoint point);

/// What a drag does that starts under this cursor; `CRNone` for a cursor that `cropHit` does not give.
[[nodiscard]] CropResizeMode cropResizeModeFor(Qt::CursorShape cursor, bool farSide);

/// `crop` after one step of a drag. It may turn over: nothing keeps an edge from passing the opposite one.
/// @param full        size of the picture, pixels
/// @param scaleFactor view / picture; a scale that is no number or 0 changes nothing
/// @param moved       way of the pointer since the last step, pixels of the view; for `CRMove`
/// @param at          the pointer, pixels of the view; for all others
[[nodiscard]] QRect draggedCropRect(CropResizeMode mode, const QRect &crop, QSize full, double scaleFactor,
                                    QPoint moved, QPoint at);
