#pragma once

#include <QColorSpace>
#include <QIODevice>

/// The colour space of a PNG picture that Qt read as being in `read`: that of its code points; else that of
/// its profile, which Qt drops unless it understands it; else sRGB, if the file says so by its chunks of
/// gamma and primaries. Qt takes their gamma of 1/2.2 at its word, which crushes the shadows.
[[nodiscard]] QColorSpace pngColourSpace(QIODevice &file, const QColorSpace &read);
