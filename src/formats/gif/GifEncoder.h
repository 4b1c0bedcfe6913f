#pragma once

#include <QImage>

class QIODevice;

/// Writes pictures as GIF files of one frame.
namespace GifEncoder {

/// Writes `image` to a device that is open for writing. A picture of up to 256 colours keeps its colour
/// table, any other gets the one of Qt's conversion to 8 bits; transparency is dropped. A null image makes a
/// file of 0 x 0 pixels. False if a side is longer than the 65535 pixels of the format, or if the device
/// fails.
[[nodiscard]] bool write(const QImage &image, QIODevice &device);

} // namespace GifEncoder
