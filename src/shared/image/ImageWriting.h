#pragma once

#include <QByteArray>
#include <QImage>

/// What becomes of a picture before it is written to a file.
namespace ImageWriting {

/// The picture as files of a format can hold it.
/// @param format the suffix of such files, in lower case
/// Transparency is laid on white where there is none, palettes become colours where they would lose some, and
/// a profile that writers refuse or drop gives way to sRGB, which is what a reader assumes.
[[nodiscard]] QImage fitted(QImage image, const QByteArray &format);

} // namespace ImageWriting
