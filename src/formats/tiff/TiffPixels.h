#pragma once

#include <QImage>

#include <tiffio.h>

namespace Tiff {

/// The format in which the picture of a file is read, from its header.
[[nodiscard]] QImage::Format formatOf(TIFF *file);

/// True if `readPixels` can make a smaller picture as the rows come.
[[nodiscard]] bool canShrink(TIFF *file);

/// The picture as it is stored, without a profile, in `scaled` pixels if they are given: means of what they
/// cover; neither side is longer then, and the file can be shrunk. What cannot be decoded of it stays black,
/// or white in a fax. Null if nothing can, or if it is above QImageReader's allocation limit.
[[nodiscard]] QImage readPixels(TIFF *file, QSize scaled = {});

} // namespace Tiff
