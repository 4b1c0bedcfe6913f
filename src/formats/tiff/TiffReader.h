#pragma once

#include <QImage>
#include <QImageIOHandler>

class QIODevice;

/// Reads the TIFF files that Qt's plug-in leaves out: 16 bits a channel, in strips or tiles, in one plane or
/// several, and whatever else libtiff makes 8 bits of.
namespace TiffReader {

/// A picture as it is stored, and how it is to be turned.
struct Picture
{
    QImage image; ///< null if there is none, or if it is above the allocation limit
    QImageIOHandler::Transformations transformation = QImageIOHandler::TransformationNone;
};

/// True for a kind of file that Qt's plug-in would take for another: separate planes, 16 bits a channel.
[[nodiscard]] bool isNeeded(QIODevice &device);

/// The first picture of the file at the device, which can be searched, with its colour profile. What cannot
/// be decoded of it stays black or transparent.
[[nodiscard]] Picture read(QIODevice &device);

} // namespace TiffReader
