#pragma once

#include <QColorSpace>
#include <QImage>

/// Hands on what a picture says of itself beside its pixels: colour space, resolution and texts.
inline void copyMetadata(const QImage &from, QImage &to)
{
    to.setColorSpace(from.colorSpace());
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    for (const QString &key : from.textKeys())
        to.setText(key, from.text(key));
}
