#pragma once

#include "shared/image/ColourConversion.h"

#include <QColorSpace>
#include <QImage>

/// The picture to write to a file with grey or with colour channels: itself, or if its ICC profile is of
/// another model, which others could not read, its pixels in sRGB. Without a profile if they cannot be
/// converted.
[[nodiscard]] inline QImage withFittingProfile(const QImage &image, bool grey)
{
    const QByteArray profile = image.colorSpace().iccProfile();
    constexpr int modelAt = 16; // in the header of every ICC profile
    if (profile.isEmpty() || profile.mid(modelAt, 4) == (grey ? "GRAY" : "RGB "))
        return image;
    QImage converted = Colour::inSrgb(image);
    if (converted.colorSpace() != QColorSpace(QColorSpace::SRgb))
        converted.setColorSpace({});
    return converted;
}
