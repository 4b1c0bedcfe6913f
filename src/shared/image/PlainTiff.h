#pragma once

#include <QByteArray>
#include <QImage>

class QIODevice;

/// TIFF files of uncompressed pixels, written strip by strip, so that nothing but the picture is in memory
/// while metadata are put into them.
namespace PlainTiff {

/// Whether a picture is for this way: 8 bits a channel, of grey or of colours without alpha.
[[nodiscard]] bool takes(const QImage &image);

/// Writes a picture in the place of another's one pixel.
/// @param ofOnePixel a TIFF file of the same format and colours, uncompressed, with whatever tags are wanted,
/// as libtiff writes it
/// False if that is no such file, or if the device fails.
[[nodiscard]] bool write(const QImage &image, QByteArray ofOnePixel, QIODevice &device);

} // namespace PlainTiff
