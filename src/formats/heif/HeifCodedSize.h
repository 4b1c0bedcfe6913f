#pragma once

#include <QSize>

class QIODevice;

namespace Heif {

/// The largest picture, in pixels, that any coded stream of the file says it holds; empty if none says so.
/// The sizes that libheif reports come from the container: where these lie, the decoder allocates for the
/// stream's own. Reads from `start`, leaves the device's position anywhere.
QSize largestCodedSize(QIODevice &device, qint64 start);

} // namespace Heif
