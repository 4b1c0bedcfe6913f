#pragma once

#include "shared/image/MetadataBlocks.h"

#include <QImage>

class QIODevice;

/// Writes pictures as JPEG XL files.
namespace JxlWriter {

/// Writes `image` with its depth, alpha and colour space to a device that is open for writing; greys stay
/// one channel.
/// @param quality 0 to 99 as in JPEG; 100: without loss; below 0: hardly visible loss
/// False if the image is null, if the encoder refuses it, or if the device fails.
[[nodiscard]] bool write(const QImage &image, QIODevice &device, int quality,
                         const MetadataBlocks &metadata = {});

/// The encoder's measure of loss for a quality of 0 to 99, as its command line tool `cjxl` has it.
[[nodiscard]] float distanceOf(int quality);

} // namespace JxlWriter
