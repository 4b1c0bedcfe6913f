#pragma once

#include <QRect>
#include <QSize>

/// The place of the window as the settings keep it, whatever stands there; pixels.
struct StoredGeometry
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// The stored geometry brought into bounds that suit the screen, whose whole size is `screen`.
[[nodiscard]] QRect restoredGeometry(const StoredGeometry &stored, QSize screen);
