#pragma once

#include <QImage>
#include <Qt>

/// Turns and mirrors whole pictures on all processors; no pixel changes its value. A null image stays null.
namespace PictureTurning {

/// Turned by a quarter, clockwise or counterclockwise.
[[nodiscard]] QImage rotated(const QImage &image, bool clockwise);

/// Mirrored: `Qt::Horizontal` changes left and right, `Qt::Vertical` top and bottom.
[[nodiscard]] QImage mirrored(const QImage &image, Qt::Orientation direction);

} // namespace PictureTurning
