#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

class QIODevice;
struct PictureRows;

/// The one way in which the program writes a picture of the user's, but for PDF and GIF files.
namespace ImageWriting {

/// The picture as files of a format can hold it.
/// @param format the suffix of such files, in lower case
/// Transparency is laid on white where there is none, palettes become colours where they would lose some, and
/// a profile, PQ or HLG that files cannot say gives way to sRGB, which is what a reader assumes.
[[nodiscard]] QImage fitted(QImage image, const QByteArray &format);

/// Memory that `fitted` and `write` take for each pixel of four bytes, beside the picture; of deep pixels it
/// is twice as much.
/// @param format the suffix of such files, in lower case
[[nodiscard]] int bytesPerPixel(const QByteArray &format);

/// Where things are in a picture of a source's size.
enum class Places
{
    AsInSource, ///< as it is shown
    Others      ///< turned or mirrored
};

/// Encodes a picture, with the metadata of the file that it was made from where the format can hold them.
/// @param format the suffix of such files, in lower case
/// @param quality 0 to 100; below 0: the format's own choice
/// @param source may be gone or have no metadata
/// False, after a line in the debug output, if there is no encoder, if there is not the memory that it takes,
/// or if the device fails.
[[nodiscard]] bool write(const QImage &image, const QByteArray &format, int quality, const QString &source,
                         QIODevice &device, Places places = Places::AsInSource);

/// Whether pictures in a format can be encoded row by row at all.
[[nodiscard]] bool takesRows(const QByteArray &format);

/// Whether `writeRows` makes of a picture the file that `fitted` and `write` make of all its pixels.
[[nodiscard]] bool takesRows(const PictureRows &picture, const QByteArray &format);

/// Encodes a picture as its rows come, with little more than these in memory. False if there are less rows,
/// or if the encoder or the device fails.
[[nodiscard]] bool writeRows(const PictureRows &picture, const QByteArray &format, int quality,
                             const QString &source, QIODevice &device);

} // namespace ImageWriting
