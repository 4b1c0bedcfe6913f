#pragma once

#include "shared/image/ImageReading.h"

#include <QPoint>

#include <map>

class QFileDevice;
class QPainter;

/// JPEG files as they are in a PDF file that is being written by QPdfWriter, which takes pixels alone: it is
/// given a stand-in, which is overwritten on the spot, and in the end its table of contents is put right.
class PdfJpegs
{
public:
    /// @param pdf what the writer writes to; is sought and read, and outlives this
    explicit PdfJpegs(QFileDevice &pdf)
        : pdf(pdf)
    {
    }

    /// Draws a JPEG file with its own pixels. False if the stand-in is not found as it should be; a white
    /// rectangle is drawn then.
    /// @param painter paints on the writer
    /// @param at upper left corner, device pixels
    [[nodiscard]] bool draw(QPainter &painter, QPoint at, const ImageReading::PlainJpeg &jpeg);

    /// Makes the file one that can be read, once the writer is gone. False if that failed.
    [[nodiscard]] bool finish();

private:
    [[nodiscard]] qint64 moved(qint64 position) const;

    QFileDevice &pdf;
    std::map<qint64, qint64> shifts = {{0, 0}}; ///< of what stands there or behind, by the writer's own count
};
