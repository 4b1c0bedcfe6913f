#pragma once

#include "shared/image/PictureRows.h"

#include <QImage>
#include <QSize>

/// A picture made smaller while its rows come, of 32 bits a pixel without alpha: each pixel is the mean of
/// what it covers, as QImage's smooth scaling gives it. Never has more than a row of the larger one. Null if
/// that has less rows than it says.
/// @param size neither side is longer than the picture's, nor empty
[[nodiscard]] QImage shrunkRows(const PictureRows &picture, QSize size);
