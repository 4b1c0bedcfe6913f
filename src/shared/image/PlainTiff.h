#pragma once

#include <QByteArray>
#include <QImage>

struct PictureRows;

/// TIFF files of uncompressed pixels, written row by row, so that nothing but the picture is in memory
/// while metadata are put into them.
namespace PlainTiff {

/// Whether a picture is for this way: 8 bits a channel, of grey or of colours without alpha.
[[nodiscard]] bool takes(QImage::Format format, QSize size);

/// What stands before the rows of a picture. Empty if the file is none of one pixel.
/// @param ofOnePixel a TIFF file of the same format and colours, uncompressed, with whatever tags are wanted,
/// as libtiff writes it
[[nodiscard]] QByteArray headOf(const PictureRows &picture, QByteArray ofOnePixel);

} // namespace PlainTiff
