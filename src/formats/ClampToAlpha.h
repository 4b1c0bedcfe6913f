#pragma once

#include <QImage>

#include <algorithm>

/// Leaves no colour above its alpha in a premultiplied picture of four samples a pixel, alpha last: lossy
/// coding and floating point make such colours, and Qt's arithmetic does not expect them.
template <typename Sample>
void clampToAlpha(QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *pixel = reinterpret_cast<Sample *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x, pixel += 4)
            std::transform(pixel, pixel + 3, pixel, [pixel](Sample s) { return std::min(s, pixel[3]); });
    }
}
