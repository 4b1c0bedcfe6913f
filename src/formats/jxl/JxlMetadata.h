#pragma once

#include "shared/image/MetadataBlocks.h"

class QIODevice;

namespace Jxl {

/// What a file says of its picture beside the pixels. Reads from the beginning of the device, and goes back
/// to where it stood.
[[nodiscard]] MetadataBlocks readMetadata(QIODevice &device);

} // namespace Jxl
