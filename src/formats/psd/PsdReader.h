#pragma once

#include <QImage>

#include <optional>

class QIODevice;

/// Reads the merged picture of layered .psd and .psb files.
namespace PsdReader {

constexpr int headerLength = 26; ///< bytes

enum class Mode
{
    Bitmap = 0,
    Gray = 1,
    Indexed = 2,
    Rgb = 3,
    Cmyk = 4,
    Multichannel = 7,
    Duotone = 8,
    Lab = 9,
};

struct Header
{
    bool large;   ///< .psb, with longer lengths
    int channels; ///< all that are stored
    QSize size;   ///< pixels
    int depth;    ///< bits a sample
    Mode mode;
    int colours; ///< how many of the channels the colours of the mode take; they come first
};

/// The header that stands in the first bytes of a file; nothing if it is not one, or if its mode and depth do
/// not go together.
[[nodiscard]] std::optional<Header> header(const QByteArray &bytes);

/// The format in which the picture is read if a channel beside its colours is transparency.
[[nodiscard]] QImage::Format imageFormat(const Header &header);

/// The picture at the device's position, in sRGB where it was Lab or linear (32 bits a sample), else with its
/// colour profile, but for CMYK. Above 8 bits a sample it has 16. Of a file that ends early, the rows that
/// are complete, and white or transparency below. Null if there is no such row, or above the allocation
/// limit.
[[nodiscard]] QImage read(QIODevice &device);

} // namespace PsdReader
