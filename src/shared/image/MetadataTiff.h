#pragma once

#include <QByteArray>

#include <memory>

class QIODevice;

/// The bytes of a file at their own places, up to the last that was read; all others are zero, and take no
/// memory.
struct SparseFile
{
    QByteArray bytes;
    std::shared_ptr<char> memory; ///< of the bytes
};

/// A TIFF file with its first picture's metadata and without pixels; empty if there is none, or no address
/// space for so long a file. Values that are far longer than metadata are told to be empty.
[[nodiscard]] SparseFile tiffWithoutPixels(QIODevice &file);
