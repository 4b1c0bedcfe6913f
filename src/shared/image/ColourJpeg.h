#pragma once

#include <QImage>
#include <QIODevice>

/// The picture of a JPEG file in inks that has a profile of theirs, in sRGB, which Qt would bring to colours
/// without the profile. The orientation is not applied. Null for any other file, or if it cannot be read.
/// @param scaled the size to give, or empty for that of the file
[[nodiscard]] QImage readInkJpeg(QIODevice &file, QSize scaled);
