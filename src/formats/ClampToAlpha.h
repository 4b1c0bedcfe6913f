#pragma once

#include <QImage>
#include <QSysInfo>

#include <algorithm>

/// Leaves no colour above its alpha in a premultiplied picture of four samples a pixel: lossy coding and
/// floating point make such colours, and Qt's arithmetic does not expect them.
template <typename Sample>
void clampToAlpha(QImage &image)
{
    // Alpha comes last, but in a QRgb whose highest byte is the first.
    const bool isFirst =
        image.format() == QImage::Format_ARGB32_Premultiplied && QSysInfo::ByteOrder == QSysInfo::BigEndian;
    const int alpha = isFirst ? 0 : 3;
    const int colour = isFirst ? 1 : 0;
    for (int y = 0; y < image.height(); ++y) {
        auto *pixel = reinterpret_cast<Sample *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x, pixel += 4)
            for (int i = colour; i < colour + 3; ++i)
                pixel[i] = std::min(pixel[i], pixel[alpha]);
    }
}
