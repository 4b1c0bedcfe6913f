#pragma once

#include <QImage>
#include <QImageIOHandler>

#include <tiffio.h>

#include <memory>

class QIODevice;

/// Reads the first picture of a TIFF file: up to 16 bits a channel, in strips or tiles, in one plane or
/// several, and whatever else libtiff makes 8 bits of.
class TiffReader
{
public:
    /// Reads from `device`, which can be searched, stays the caller's and must live as long.
    explicit TiffReader(QIODevice &device);

    /// Pixels of the picture as it is stored, from the header. Empty if the file is broken, or asks for
    /// memory or time out of proportion.
    [[nodiscard]] QSize size() const;

    /// The format in which the picture is read, from the header. Invalid where the size is empty.
    [[nodiscard]] QImage::Format imageFormat() const;

    /// How the picture is to be turned, from the header.
    [[nodiscard]] QImageIOHandler::Transformations transformation() const;

    /// Memory that reading takes beside the picture, for a strip or tile as it is stored and decoded.
    [[nodiscard]] qint64 bufferBytes() const;

    /// True if `read` can make a smaller picture as the rows come, from the header.
    [[nodiscard]] bool canShrink() const;

    /// The picture as it is stored, with its colour profile and resolution. With a size, of which no side is
    /// longer than that of the picture, of pixels that are the means of what they cover. What cannot be
    /// decoded of it stays black, or white in a fax. Null if nothing can, or if it is above QImageReader's
    /// allocation limit; with a size, all of it may come without one.
    [[nodiscard]] QImage read(QSize scaled = {}) const;

private:
    struct Close
    {
        void operator()(TIFF *file) const { TIFFClose(file); }
    };

    std::unique_ptr<TIFF, Close> file; ///< null if it is broken or refused
};
