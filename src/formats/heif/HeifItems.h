#pragma once

#include <QSize>

#include <optional>

class QIODevice;

namespace Heif {

/// The largest picture, in pixels, among all that the items of a file are coded in or put together to.
/// Nothing if the file is broken, or if decoding it would never end or cost out of all proportion to the
/// sizes that it tells: pictures made of one another or of too many parts. libheif before 1.19 takes such
/// files on. Reads from `start`, leaves the device's position anywhere.
[[nodiscard]] std::optional<QSize> largestPicture(QIODevice &device, qint64 start);

} // namespace Heif
