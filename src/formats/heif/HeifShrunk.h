#pragma once

#include "formats/heif/HeifTypes.h"

#include <QImage>

#include <optional>

namespace Heif {

/// A picture in the smaller `size`, upright: each sample is the mean of those that lie in its place, rounded
/// down twice. Of 8 bits a channel, or of 16 if the file has more. As large as it is if its sides are not
/// those that its header says, null if it is broken. Nothing, without a look at it, if it has alpha or a side
/// of `size` is longer than the picture's; nor if the library gives other planes than were asked for.
[[nodiscard]] std::optional<QImage> readShrunk(const heif_image_handle &handle, QSize size);

} // namespace Heif
