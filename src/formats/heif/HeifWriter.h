#pragma once

#include "shared/image/MetadataBlocks.h"

#include <QImage>

class QIODevice;

/// Writes pictures as HEIC or AVIF files.
namespace HeifWriter {

enum class Coding
{
    Hevc,
    Av1
};

/// Writes `image` with its alpha and its colour space to a device that is open for writing. Pictures of more
/// than 8 bits a channel keep 10 (HEVC) or 12 (AV1) if the encoder can.
/// @param quality 0 to 100; below 0: the encoder's own choice
/// False if the image is null, if there is no encoder, if it refuses the size, or if the device fails.
[[nodiscard]] bool write(const QImage &image, QIODevice &device, Coding coding, int quality,
                         const MetadataBlocks &metadata = {});

} // namespace HeifWriter
