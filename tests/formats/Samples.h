#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>

#include <algorithm>
#include <cstdlib>

/// Pictures for tests of image formats, and their way through the plug-ins.
namespace Samples {

/// Smooth colours, from corner to corner, with an alpha that fades to the right if the format has one.
inline QImage gradient(QSize size, QImage::Format format)
{
    QImage image(size, QImage::Format_RGBA64);
    const double fade = QImage(1, 1, format).hasAlphaChannel() ? 0.7 : 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const double right = static_cast<double>(x) / std::max(1, size.width() - 1);
            const double down = static_cast<double>(y) / std::max(1, size.height() - 1);
            image.setPixelColor(x, y, QColor::fromRgbF(right, down, 1 - right * 0.5, 1 - right * fade));
        }
    }
    return image.convertToFormat(format);
}

inline QByteArray written(const QImage &image, const QByteArray &format, int quality)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    return writer.write(image) ? buffer.data() : QByteArray();
}

/// What the reader makes of the bytes, told nothing of their format.
inline QImage readBack(QByteArray bytes, QSize scaled = {})
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    reader.setScaledSize(scaled);
    const QSize told = reader.size();
    const QImage image = reader.read();
    return scaled.isValid() || image.isNull() || told == image.size() ? image : QImage();
}

/// The mean difference of the two pictures' samples, of 255, the alpha among them.
inline double difference(const QImage &one, const QImage &other)
{
    if (one.isNull() || one.size() != other.size())
        return 255;
    const QImage a = one.convertToFormat(QImage::Format_RGBA8888);
    const QImage b = other.convertToFormat(QImage::Format_RGBA8888);
    const int line = 4 * a.width();
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < line; ++x)
            sum += std::abs(a.constScanLine(y)[x] - b.constScanLine(y)[x]);
    }
    return sum / line / a.height();
}

} // namespace Samples
