#pragma once

#include <QImage>
#include <QSize>
#include <QString>

/// The one way in which the program reads a user's picture: the format is found from the content, the stored
/// orientation is applied, colours come out as sRGB. Safe to call from any thread.
namespace ImageReading {

/// Sets the memory that one decoded picture may take: a quarter of what the process may use, at least 256 MB.
/// Called once at start.
void setAllocationLimit();

/// The picture upright and in full. Null if the file is no picture, is broken, too large or gone.
QImage read(const QString &path);

/// A thumbnail, and the size of the picture it was made from.
struct Thumbnail
{
    QImage image;   ///< null if the picture could not be read
    QSize fullSize; ///< pixels, upright; empty if the picture could not be read
};

/// The picture upright, its longer side scaled to `side` pixels, enlarged if it is smaller. The decoder
/// scales while it decodes where it can.
Thumbnail readThumbnail(const QString &path, int side);

/// Size of a thumbnail with the longer side `side` pixels; the shorter is at least one pixel.
QSize thumbnailSize(QSize full, int side);

} // namespace ImageReading
