#pragma once

#include "formats/heif/HeifTypes.h"

#include <QImage>

namespace Heif {

/// A picture in the smaller `size`, upright: each sample is the mean of those that lie in its place, rounded
/// down twice. Of 8 bits a channel, or of 16 if the file has more. Null if a picture has alpha, a side of
/// `size` is longer than the picture's, its sides are not those that its header says, or it is broken.
[[nodiscard]] QImage readShrunk(const heif_image_handle &handle, QSize size);

} // namespace Heif
