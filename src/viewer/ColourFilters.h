#pragma once

#include <QImage>

/// Changes of a picture's colours. Every result is an opaque `QImage::Format_RGB32`; a null image stays null.
/// All processors work on a large picture.
namespace ColourFilters {

/// Contrast, brightness, gamma and inverted colours in one pass, as the live view has them: gamma goes by
/// whole steps of 100, and every channel is limited to its range after each filter.
/// @param gamma         -100 to 699; below 0 only full values are left
/// @param invertColours channels below this are inverted; 0 for none
[[nodiscard]] QImage applyLive(const QImage &image, int contrast, int brightness, int gamma,
                               int invertColours);

/// One filter at full precision: 0 brightness, 1 contrast, 2 gamma, 3 sepia, 4 inverted colours. Its last
/// step limits the channels only in part, so that some values wrap around: brightness 100 makes (255, 44,
/// 255) of (200, 200, 200).
[[nodiscard]] QImage apply(const QImage &image, int filterType, float value);

/// The four filters of the adjustments dialog on the picture itself: the bytes that `apply` gives for
/// contrast, brightness, gamma and inverted colours one after another, worked out in one go.
[[nodiscard]] QImage applyAdjustments(QImage image, int contrast, int brightness, int gamma,
                                      int invertColours);

/// The picture by way of `QImage::Format_Grayscale8`, which knows no alpha.
[[nodiscard]] QImage grayscale(const QImage &image);

} // namespace ColourFilters
