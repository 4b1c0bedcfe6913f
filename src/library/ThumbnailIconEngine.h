#pragma once

#include "library/ThumbnailIcons.h"

#include <QIconEngine>
#include <QPointer>

/// Paints one thumbnail's square through `ThumbnailIcons`, at the resolution of the device.
class ThumbnailIconEngine : public QIconEngine
{
public:
    ThumbnailIconEngine(ThumbnailIcons *icons, const ThumbnailIcons::Source &source);

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QIconEngine *clone() const override;

private:
    [[nodiscard]] static QPixmap inMode(const QPixmap &square, QIcon::Mode mode, QIcon::State state);

    const QPointer<ThumbnailIcons> icons;
    const ThumbnailIcons::Source source;
};
