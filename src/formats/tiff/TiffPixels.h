#pragma once

#include <QImage>

#include <tiffio.h>

namespace Tiff {

/// The format in which the picture of a file is read, from its header.
[[nodiscard]] QImage::Format formatOf(TIFF *file);

/// The picture as it is stored, without a profile. What cannot be decoded of it stays black, or white in a
/// fax. Null if nothing can, or if it is above QImageReader's allocation limit.
[[nodiscard]] QImage readPixels(TIFF *file);

} // namespace Tiff
