#pragma once

#include <QColorSpace>
#include <QImage>

/// The same pixels without the texts in which PNG files carry metadata of other kinds. As texts they would
/// reach files of any format, and still tell of the turn that has been made.
[[nodiscard]] QImage withoutMetadataTexts(QImage image);

/// Hands on what a picture says of itself beside its pixels: colour space, resolution and texts.
inline void copyMetadata(const QImage &from, QImage &to)
{
    to.setColorSpace(from.colorSpace());
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    for (const QString &key : from.textKeys())
        to.setText(key, from.text(key));
}
