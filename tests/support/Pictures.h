#pragma once

#include <QtGui>

/// Pictures for the tests, made by code.
namespace Pictures {

/// Four quarters of different colours, so that every turn and every mirroring shows.
QImage quarters(QSize size);

/// The colours of the quarters: upper left, upper right, lower left, lower right.
QList<QColor> quarterColours();

/// The colours in the middle of the quarters of `image`, each named after that of `quarterColours`, or "?".
QString quartersOf(const QImage &image);

/// What a camera held that way writes, for the EXIF orientations 1 to 8: the inverse of showing it upright.
QImage asStored(const QImage &upright, int orientation);

/// True if no sample, alpha among them, differs by more than this, of 255.
bool isNear(const QColor &one, const QColor &other, double tolerance);

/// Random pixels, the same every time.
QImage noise(QSize size, QImage::Format format = QImage::Format_RGB32);

/// A picture of 32 bits whose pixels are those of a function of x and y.
template <typename Pixel>
QImage painted(QSize size, const Pixel &pixel, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, format);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, pixel(x, y));
    return image;
}

/// The mean difference of the samples, alpha among them, of 255. Colours count as far as they are opaque.
double difference(const QImage &one, const QImage &other);

/// The bytes of a file in the format of this name; empty if it cannot be written.
QByteArray encoded(const QImage &image, const QByteArray &format, int quality = -1);

/// The bytes of a JPEG file that is decoded in several scans.
QByteArray progressiveJpeg(const QImage &image);

/// What the image plug-ins make of a file's bytes, told nothing of their format. Fails if they tell another
/// size or less depth before.
QImage decoded(QByteArray bytes, QSize scaled = {});

/// Lets a file look as if it had been written so many seconds ago: one that was just now is taken for one
/// that still is.
void age(const QString &path, int seconds = 3600);

/// `quarters` in a file, written long ago, stored so that the given EXIF orientation (1 to 8) shows it
/// upright. The format is that of the suffix, the profile that of the colour space, if any.
void save(const QString &path, QSize size = QSize(60, 40), int orientation = 1,
          const QColorSpace &colours = {});

/// Files "0000.jpg" and so on in `folder`.
void saveMany(const QString &folder, int count, QSize size = QSize(60, 40));

} // namespace Pictures
