#pragma once

#include "shared/image/MemoryBudget.h"
#include "shared/image/PictureRows.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// The one way in which the program reads a user's picture: the format is found from the content, the stored
/// orientation is applied, colours come out as sRGB. Safe to call from any thread.
namespace ImageReading {

/// Sets the memory that one decoded picture may take: a quarter of what the process may use, at least 256 MB.
/// Where that is less than 4 GB, large blocks go back to the system as soon as they are freed. Called once at
/// start.
void setAllocationLimit();

/// What becomes of the picture's colours.
enum class Colours
{
    Srgb,    ///< converted, for display and editing
    AsStored ///< left as they are, with the profile that says what they mean
};

/// The picture upright and in full. Null if the file is no picture, is broken, too large for the memory that
/// there is, or gone.
[[nodiscard]] QImage read(const QString &path, Colours colours = Colours::Srgb);

/// A picture with its share of the memory that decoded pictures may take together, which is given back when
/// this goes.
struct HeldPicture
{
    QImage image; ///< null as from `read`
    std::unique_ptr<const MemoryBudget::Share> share;
};

/// The same for a worker that goes on with the picture while others decode.
/// @param bytesPerPixel what the worker goes on to take, for each pixel of four bytes; of deep pixels more.
/// Above 0 the share is waited for until other workers are done.
[[nodiscard]] HeldPicture readAndHold(const QString &path, Colours colours = Colours::Srgb,
                                      int bytesPerPixel = 0);

/// The picture as it is stored, decoded while its rows are asked for; nothing if that takes all of it. Holds
/// the file, and memory for an encoder of rows, until it goes. What fails on the way may be read as a whole.
[[nodiscard]] std::optional<PictureRows> openRows(const QString &path);

/// A JPEG file that any program shows as this one does, and whose metadata are taken out.
struct PlainJpeg
{
    QByteArray bytes;
    QSize size;
    bool isGrey;
};

/// A JPEG file's own bytes, if it is whole, upright, in sRGB, and of 8 bits for grey or three colours;
/// nothing of any other file.
/// @param isWanted is asked for the size before the file is read
[[nodiscard]] std::optional<PlainJpeg> readPlainJpeg(const QString &path,
                                                     const std::function<bool(QSize)> &isWanted);

/// A thumbnail, and the size of the picture it was made from.
struct Thumbnail
{
    QImage image;   ///< null if the picture could not be read
    QSize fullSize; ///< pixels, upright; empty if the picture could not be read
};

/// The picture upright, its longer side scaled to `side` pixels, enlarged if it is smaller. The decoder
/// scales while it decodes where it can.
[[nodiscard]] Thumbnail readThumbnail(const QString &path, int side);

/// Size of a thumbnail with the longer side `side` pixels; the shorter is at least one pixel.
[[nodiscard]] QSize thumbnailSize(QSize full, int side);

} // namespace ImageReading
