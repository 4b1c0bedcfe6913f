#pragma once

#include <QImage>
#include <QSize>

#include <functional>

/// A picture of 8 bits a channel, of grey or of colours without alpha, whose rows come one after the other.
struct PictureRows
{
    QImage pixel; ///< the first one, in the format of the picture, with its colours, resolution and texts
    QSize size;   ///< pixels

    /// Gives the next row, from the top: a byte of grey a pixel, or red, green and blue. False if there is
    /// none.
    std::function<bool(uchar *row)> next;

    [[nodiscard]] bool isGrey() const { return pixel.format() == QImage::Format_Grayscale8; }
    [[nodiscard]] qint64 bytesOfRow() const { return qint64(size.width()) * (isGrey() ? 1 : 3); }
};
