#pragma once

#include <QByteArray>
#include <QSize>

#include <array>
#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <csetjmp>

class QIODevice;

/// libjpeg's decoder of one file, row by row. Bytes that are missing at the end are no error, as little as
/// others that libjpeg only warns of.
class JpegDecoder
{
public:
    /// Which pictures are wanted.
    enum class Model
    {
        Inks, ///< four a pixel, as what each leaves of the paper's white
        Light ///< one byte of grey a pixel, or red, green and blue
    };

    /// @param file outlives it, and is read from where it stands
    explicit JpegDecoder(QIODevice &file);
    ~JpegDecoder() { jpeg_destroy_decompress(&info); }
    JpegDecoder(const JpegDecoder &) = delete;
    JpegDecoder &operator=(const JpegDecoder &) = delete;

    /// Reads all that stands before the picture, with all markers. False if there is no picture.
    [[nodiscard]] bool readHeader();

    /// Begins to decode, if the picture is of this model. Takes the smallest of libjpeg's sizes that is not
    /// below `scaled`.
    [[nodiscard]] bool start(Model model, QSize scaled = {});

    /// Pixels, as they are decoded.
    QSize size() const { return {static_cast<int>(info.output_width), static_cast<int>(info.output_height)}; }

    int bytesPerPixel() const { return info.output_components; }

    /// Dots a metre, across and down; 0 if the file does not tell.
    QSize resolution() const;

    /// Empty if there is none.
    QByteArray profile();

    /// The next row. False if the file has no more, or could not be read.
    [[nodiscard]] bool read(uchar *row);

    /// Goes through what stands behind the last row. False if it is no end of a picture, or could not be
    /// read.
    [[nodiscard]] bool finish();

    /// What libjpeg keeps of the file.
    const jpeg_decompress_struct &header() const { return info; }

private:
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_source_mgr source{};
    /// Where libjpeg's errors come back to. No object may be made in between.
    std::jmp_buf onError{};
    QIODevice &file;
    bool hasFailed = false;            ///< the file, which is not its end
    std::array<JOCTET, 65536> piece{}; ///< of the file
};
