#pragma once

#include <QByteArray>
#include <QImage>

/// The picture of a JPEG file at an eighth of its size, rounded up: a pixel is the mean of a block of 8 by 8.
/// The orientation is not applied; the colour profile is handed on. Null unless the file is whole and of the
/// kind that cameras and the web have: Huffman coding in one scan or progressive, 8 bits, grey or YCbCr. Null
/// says nothing of the file's worth: another decoder may take it. Far faster than that, as it only looks for
/// the ends of most coefficients, or for the ends of the scans that bring them.
[[nodiscard]] QImage readJpegEighth(const QByteArray &file);
