#pragma once

#include <QImage>

#include <optional>

class QIODevice;

/// Reads the flattened picture of layered .pspimage files.
namespace PspReader {

constexpr int headerLength = 58; ///< bytes: the name, the version and the first of the general attributes

struct Header
{
    QSize size; ///< pixels
};

/// The header that stands in the first bytes of a file; nothing if it is not one, or of a version before 4,
/// which holds no flattened picture.
[[nodiscard]] std::optional<Header> header(const QByteArray &bytes);

/// The picture at the device's position: the flattened one at its full size, or, where that is missing or
/// damaged, the file's JPEG preview brought to the same size. 16 bits a sample stay. Null if there is
/// neither, or above the allocation limit.
[[nodiscard]] QImage read(QIODevice &device);

} // namespace PspReader
