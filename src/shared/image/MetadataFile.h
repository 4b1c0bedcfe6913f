#pragma once

#include <QByteArray>

class QIODevice;

/// What exiv2 needs to read the metadata of a file. Given the bytes, it need not understand the system's file
/// names.
namespace MetadataFile {

/// Makes the library ready for all threads. Called before each use.
void prepareLibrary();

enum class Wanted
{
    Exif, ///< alone: the library parses XMP slowly, and one file after the other
    All
};

/// A PNG, WebP or PSD file with its metadata and without its pixels, whole even if that one is cut off; empty
/// if it is none of them. Without blocks that are far longer than metadata are.
[[nodiscard]] QByteArray withoutPixels(QIODevice &file, Wanted wanted);

} // namespace MetadataFile
