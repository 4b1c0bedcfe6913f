#pragma once

#include <QPixmap>
#include <QRect>
#include <QSize>

/// The picture as the view shows it: the full picture scaled to `size`.
///
/// What is on the screen costs what the screen costs: as long as the view changes, no scaled copy is made at
/// all, and the label paints the visible part out of the full picture. The smooth pass leaves its pixels here
/// where they are few; of a large view only what is visible is ever rendered.
struct DisplayedImage
{
    QSize size = {};     ///< device-independent pixels; empty for no picture
    bool smooth = false; ///< scaled smoothly, otherwise fast
    QPixmap pixels = {}; ///< all of it, or null

    int width() const { return size.isEmpty() ? 0 : size.width(); }
    int height() const { return size.isEmpty() ? 0 : size.height(); }
    bool isNull() const { return size.isEmpty(); }
};

/// True if all of a view of this size is worth keeping in pixels, beside a viewport of `viewport`; both in
/// device-independent pixels.
bool isKeptWhole(QSize displayed, QSize viewport);

/// The part `part` of `full` scaled smoothly to `displayed`, rendered for a device of `ratio` pixels per
/// device-independent pixel. `part` is in device-independent pixels of the view and is cut to it.
QPixmap smoothPart(const QPixmap &full, QSize displayed, QRect part, qreal ratio);
