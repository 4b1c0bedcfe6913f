#include "library/ThumbnailIconEngine.h"

#include <QPainter>

#include <algorithm>

ThumbnailIconEngine::ThumbnailIconEngine(ThumbnailIcons *icons, const ThumbnailIcons::Source &source)
    : icons(icons)
    , source(source)
{
}

void ThumbnailIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state)
{
    const qreal ratio = painter->device()->devicePixelRatio();
    const int side = std::min(rect.width(), rect.height());
    QRect square(0, 0, side, side);
    square.moveCenter(rect.center());
    const int pixels = qRound(side * ratio);
    if (icons && pixels > 0)
        painter->drawPixmap(square, inMode(icons->paintedSquare(source, pixels), mode, state));
}

QPixmap ThumbnailIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    const int side = std::min(size.width(), size.height());
    if (!icons || side < 1)
        return {};
    return inMode(icons->square(source, side), mode, state);
}

QSize ThumbnailIconEngine::actualSize(const QSize &size, QIcon::Mode, QIcon::State)
{
    const int side = std::min({size.width(), size.height(), thumbnailSide});
    return {side, side};
}

QIconEngine *ThumbnailIconEngine::clone() const
{
    return new ThumbnailIconEngine(icons, source);
}

/// An icon of pixels knows how the style shows it selected or disabled.
QPixmap ThumbnailIconEngine::inMode(const QPixmap &square, QIcon::Mode mode, QIcon::State state)
{
    return mode == QIcon::Normal ? square : QIcon(square).pixmap(square.size(), 1.0, mode, state);
}
