#pragma once

#include <QByteArray>
#include <QSize>

#include <tiffio.h>

namespace Tiff {

/// The value of a tag, or what stands for it in a file without.
template <typename Value>
[[nodiscard]] Value tag(TIFF *file, uint32_t name, Value value = {})
{
    TIFFGetFieldDefaulted(file, name, &value);
    return value;
}

/// The ICC profile; empty if the file has none.
[[nodiscard]] inline QByteArray profile(TIFF *file)
{
    uint32_t length = 0;
    void *bytes = nullptr;
    return TIFFGetField(file, TIFFTAG_ICCPROFILE, &length, &bytes) == 1
               ? QByteArray(static_cast<const char *>(bytes), int(length))
               : QByteArray();
}

/// Pixels of the picture as it is stored; empty if it is too long.
[[nodiscard]] inline QSize sizeOf(TIFF *file)
{
    const auto width = tag<uint32_t>(file, TIFFTAG_IMAGEWIDTH);
    const auto height = tag<uint32_t>(file, TIFFTAG_IMAGELENGTH);
    constexpr uint32_t longest = 1U << 20;
    return width > longest || height > longest ? QSize() : QSize(int(width), int(height));
}

} // namespace Tiff
