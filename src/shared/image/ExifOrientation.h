#pragma once

#include <QImageIOHandler>

/// The orientation stored in the EXIF block of a PNG or WebP file at its beginning, as what has to be done to
/// show the picture upright. None for other formats, or if the file has no such block or cannot be read. The
/// pixels are not read. Safe to call from any thread.
[[nodiscard]] QImageIOHandler::Transformations exifOrientation(QIODevice &file);

/// What an EXIF orientation value asks for: 1 to 8, anything else is none.
[[nodiscard]] QImageIOHandler::Transformations transformationOfExifValue(int orientation);
