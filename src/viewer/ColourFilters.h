#pragma once

#include <QImage>

/// What the filters of `VistamoGlobal` share and what is built on them. Every result is an opaque
/// `QImage::Format_RGB32`; a null image stays null. All processors work on a large picture.
namespace ColourFilters {

/// The four filters of the adjustments dialog on the picture itself: the bytes that `applyFilter` gives for
/// contrast, brightness, gamma and inverted colours one after another, worked out in one go.
[[nodiscard]] QImage applyAdjustments(QImage image, int contrast, int brightness, int gamma,
                                      int invertColours);

/// The picture by way of `QImage::Format_Grayscale8`, which knows no alpha.
[[nodiscard]] QImage grayscale(const QImage &image);

} // namespace ColourFilters
