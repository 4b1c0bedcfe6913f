#pragma once

#include "shared/image/PictureRows.h"

#include <QSize>

#include <functional>

/// Makes a picture smaller while its rows come: each pixel is the mean of what it covers, as QImage's smooth
/// scaling gives it. Never has more than a row of either. False if the picture has less rows than it says, or
/// if `give` fails.
/// @param size neither side is longer than the picture's, nor empty
/// @param give is given each row of the smaller picture, with the picture's own channels
[[nodiscard]] bool shrinkRows(const PictureRows &picture, QSize size,
                              const std::function<bool(uchar *row)> &give);
