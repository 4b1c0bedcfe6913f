#pragma once

#include <QByteArray>

class QIODevice;

/// What readers of several formats need to take data in without believing what a file says of itself.
namespace Packing {

/// Up to `most` bytes from the device; fewer where it ends. Memory is taken as the data comes.
[[nodiscard]] QByteArray readAtMost(QIODevice &device, qint64 most);

/// Up to `most` bytes of what a zlib stream holds; fewer where it is damaged or ends early.
[[nodiscard]] QByteArray inflated(QByteArrayView packed, qsizetype most);

} // namespace Packing
