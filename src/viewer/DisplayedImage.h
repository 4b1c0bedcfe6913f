#pragma once

#include <QPixmap>
#include <QSize>

class QPainter;

/// The picture as the view shows it: the full picture scaled to `size`.
///
/// What is on the screen costs what the screen costs: as long as the view changes, no scaled copy is made at
/// all, and the label paints the visible part out of the full picture. The smooth pass leaves pixels here
/// that the painter need not shrink any further.
struct DisplayedImage
{
    QSize size = {};     ///< pixels of the screen; empty for no picture
    bool smooth = false; ///< scaled smoothly, otherwise fast
    QPixmap pixels = {}; ///< what is painted in place of the full picture, or null

    [[nodiscard]] int width() const { return size.isEmpty() ? 0 : size.width(); }
    [[nodiscard]] int height() const { return size.isEmpty() ? 0 : size.height(); }
    [[nodiscard]] bool isNull() const { return size.isEmpty(); }
    [[nodiscard]] bool isSameAs(const DisplayedImage &other) const
    {
        return size == other.size && smooth == other.smooth && pixels.cacheKey() == other.pixels.cacheKey();
    }
};

/// What `full` is painted from in a smooth view of `size`. A view not much larger than `viewport` is scaled
/// as a whole; of a larger one only a copy is made that is small enough for the painter's own filter, which
/// looks at four pixels, and none, which is null, if the view is not below half size. All are pixels of the
/// screen.
[[nodiscard]] QImage smoothPixels(const QImage &full, QSize size, QSize viewport);

/// The same as a view.
[[nodiscard]] DisplayedImage smoothImage(const QPixmap &full, QSize size, QSize viewport);

/// Paints the part `exposed` of the view with a painter of the screen's pixels, from the view's upper left
/// corner. Parts painted one by one fit together.
void paintImage(QPainter &painter, const QPixmap &full, const DisplayedImage &displayed,
                const QRect &exposed);
