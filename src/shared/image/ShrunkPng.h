#pragma once

#include <QByteArray>
#include <QSize>

class QIODevice;

/// The bytes of a PNG file with the picture of another in `size`, and with all else that the other says of
/// it. Qt's plug-in reads the same picture, texts and colours from it as from the other file when told to
/// scale, in half the time: with Qt 6.4 to the last bit, with newer ones within 1 of 255. The density stays
/// that of the file. Empty unless the file's pixels are whole, of 8 bits a channel, in colours or, with Qt
/// 6.4, with alpha, not interlaced, and take 256 MB at most, and all else 8 MB, and where memory is short:
/// that says nothing of the file's worth, the plug-in may take it. Takes the memory of the file and of its
/// unpacked rows.
/// @param file at its beginning
/// @param size pixels; neither side above the file's
[[nodiscard]] QByteArray shrunkPng(QIODevice &file, QSize size);
