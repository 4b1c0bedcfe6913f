#pragma once

#include <QImage>
#include <QSize>

class QIODevice;

namespace Jxl {

/// The upright picture of a JPEG XL file in `size`, from the means of its blocks of 8 by 8 pixels alone. Of
/// 16 bits a channel, colours as the decoder gives them. Null unless the file keeps these means by
/// themselves, as photos that are coded with loss do, is one frame without alpha, and both sides are 8 times
/// as long at least: that says nothing of the file's worth. Reads from the file's beginning, and leaves the
/// device where it was.
/// @param size pixels
[[nodiscard]] QImage readShrunk(QIODevice &device, QSize size);

} // namespace Jxl
