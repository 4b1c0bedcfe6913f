#pragma once

#include "formats/heif/HeifTypes.h"

#include <QColorSpace>

namespace Heif {

/// The colour space that is stored with a picture: its ICC profile, else its code points. Invalid if there is
/// none or if Qt cannot express it; then `iccProfile` says what it is.
[[nodiscard]] QColorSpace colourSpace(const heif_image_handle &handle);

/// True if two pictures store the same profile and the same code points, or both none.
[[nodiscard]] bool haveSameColours(const heif_image_handle &one, const heif_image_handle &other);

/// Stores the colour space with a picture that is to be encoded: sRGB, none at all, PQ and HLG as code
/// points, any other as an ICC profile.
void setColourSpace(heif_image &image, const QColorSpace &colourSpace);

} // namespace Heif
