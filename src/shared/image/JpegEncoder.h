#pragma once

#include <QByteArray>
#include <QSize>

#include <array>
#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <csetjmp>

class QIODevice;

/// libjpeg's encoder, row by row, to a file that says of itself what another does.
class JpegEncoder
{
public:
    /// Which codes the coefficients get.
    enum class Codes
    {
        Best, ///< those of the picture, all of whose coefficients are kept for them
        Usual ///< the same for all pictures
    };

    /// @param device outlives it
    explicit JpegEncoder(QIODevice &device);
    ~JpegEncoder() { jpeg_destroy_compress(&info); }
    JpegEncoder(const JpegEncoder &) = delete;
    JpegEncoder &operator=(const JpegEncoder &) = delete;

    /// Writes what stands before the picture. False if that fails.
    /// @param other a JPEG file of grey or of three colours, whose markers, model, subsampling, quantisation
    /// and kind of scans are taken
    [[nodiscard]] bool start(QByteArray other, QSize size, Codes codes = Codes::Best);

    /// Takes the next row: a byte of grey a pixel, or red, green and blue. False if the device has failed.
    [[nodiscard]] bool write(uchar *row);

    /// To be called behind the last row. False if the file is not complete.
    [[nodiscard]] bool finish();

private:
    void writePiece(size_t length);

    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr destination{};
    /// Where libjpeg's errors come back to. No object may be made in between.
    std::jmp_buf onError{};
    QIODevice &device;
    bool failed = false;
    std::array<JOCTET, 65536> piece{}; ///< of the file
};
