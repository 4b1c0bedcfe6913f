#pragma once

#include <QByteArray>
#include <QImage>

class QIODevice;

/// TIFF files of uncompressed pixels, written strip by strip, so that nothing but the picture is in memory
/// while metadata are put into them.
namespace PlainTiff {

/// Whether a picture is for this way: 8 bits a channel, of grey or of colours without alpha.
[[nodiscard]] bool takes(const QImage &image);

/// What stands before the rows of a picture. Empty if the file is none of one pixel.
/// @param ofOnePixel a TIFF file of the same format and colours, uncompressed, with whatever tags are wanted,
/// as libtiff writes it
[[nodiscard]] QByteArray headOf(const QImage &image, QByteArray ofOnePixel);

/// Writes that and the rows. False if the device fails.
[[nodiscard]] bool write(const QImage &image, const QByteArray &head, QIODevice &device);

} // namespace PlainTiff
