#pragma once

#include <QImage>

#include <utility>

/// The picture with left and right swapped (`Qt::Horizontal`), top and bottom, or both.
[[nodiscard]] inline QImage flipped(QImage image, Qt::Orientations directions)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 9, 0)
    return std::move(image).flipped(directions);
#else
    return std::move(image).mirrored(directions.testFlag(Qt::Horizontal), directions.testFlag(Qt::Vertical));
#endif
}
