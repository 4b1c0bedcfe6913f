#pragma once

#include <QByteArray>

class QIODevice;

/// What exiv2 needs to read the metadata of a file. Given the bytes, it need not understand the system's file
/// names.
namespace MetadataFile {

/// Makes the library ready for all threads. Called before each use.
void prepareLibrary();

/// A PNG or WebP file without its pixels; empty if it is neither.
[[nodiscard]] QByteArray withoutPixels(QIODevice &file);

} // namespace MetadataFile
