#include "shared/image/JpegDecoder.h"

#include <QIODevice>

#include <algorithm>
#include <cstdlib>
#include <memory>

constexpr unsigned wholeMarker = 0xffff;

JpegDecoder::JpegDecoder(QIODevice &file)
    : file(file)
{
    info.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr common) {
        std::longjmp(static_cast<JpegDecoder *>(common->client_data)->onError, 1);
    };
    errors.emit_message = [](j_common_ptr, int) {}; // what is wrong with a file is no news for the terminal
    info.client_data = this;
    if (setjmp(onError) != 0) // NOLINT
        return;
    jpeg_create_decompress(&info);
    source.init_source = [](j_decompress_ptr) {};
    source.term_source = [](j_decompress_ptr) {};
    source.resync_to_restart = jpeg_resync_to_restart;
    source.fill_input_buffer = [](j_decompress_ptr info) -> boolean {
        auto *const decoder = static_cast<JpegDecoder *>(info->client_data);
        auto &piece = decoder->piece;
        qint64 length = decoder->file.read(reinterpret_cast<char *>(piece.data()), piece.size());
        decoder->hasFailed = decoder->hasFailed || length < 0;
        if (length <= 0) { // the picture ends with the file
            piece[0] = 0xff;
            piece[1] = JPEG_EOI;
            length = 2;
        }
        info->src->next_input_byte = piece.data();
        info->src->bytes_in_buffer = static_cast<size_t>(length);
        return TRUE;
    };
    source.skip_input_data = [](j_decompress_ptr info, long count) {
        jpeg_source_mgr &source = *info->src;
        for (auto left = static_cast<size_t>(std::max(count, 0L)); left > 0;) {
            if (source.bytes_in_buffer == 0)
                source.fill_input_buffer(info);
            const size_t passed = std::min(left, source.bytes_in_buffer);
            source.next_input_byte += passed;
            source.bytes_in_buffer -= passed;
            left -= passed;
        }
    };
    info.src = &source;
}

bool JpegDecoder::readHeader()
{
    if (!info.src || setjmp(onError) != 0) // NOLINT
        return false;
    jpeg_save_markers(&info, JPEG_COM, wholeMarker);
    for (int i = 0; i < 16; ++i)
        jpeg_save_markers(&info, JPEG_APP0 + i, wholeMarker);
    return jpeg_read_header(&info, TRUE) == JPEG_HEADER_OK;
}

bool JpegDecoder::start(Model model, QSize scaled)
{
    if (!info.src || setjmp(onError) != 0) // NOLINT
        return false;
    jpeg_save_markers(&info, JPEG_APP0 + 2, wholeMarker);
    jpeg_read_header(&info, TRUE);
    const bool isInked = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
    if (isInked != (model == Model::Inks))
        return false;
    info.out_color_space = isInked                                  ? JCS_CMYK
                           : info.jpeg_color_space == JCS_GRAYSCALE ? JCS_GRAYSCALE
                                                                    : JCS_RGB;
    const auto covers = [&](unsigned denominator) {
        return info.image_width / denominator >= static_cast<unsigned>(scaled.width())
               && info.image_height / denominator >= static_cast<unsigned>(scaled.height());
    };
    while (!scaled.isEmpty() && info.scale_denom < 8 && covers(2 * info.scale_denom))
        info.scale_denom *= 2;
    return jpeg_start_decompress(&info) == TRUE;
}

QSize JpegDecoder::resolution() const
{
    const double perMetre = info.density_unit == 1 ? 100 / 2.54 : info.density_unit == 2 ? 100 : 0;
    return QSizeF(info.X_density * perMetre, info.Y_density * perMetre).toSize();
}

QByteArray JpegDecoder::profile()
{
    JOCTET *bytes = nullptr;
    unsigned length = 0;
    if (setjmp(onError) != 0) // NOLINT
        return {};
    if (jpeg_read_icc_profile(&info, &bytes, &length) == FALSE)
        return {};
    const std::unique_ptr<JOCTET, decltype(&std::free)> owner(bytes, std::free);
    return QByteArray(reinterpret_cast<const char *>(bytes), length);
}

bool JpegDecoder::read(uchar *row)
{
    if (setjmp(onError) != 0) // NOLINT
        return false;
    if (info.output_scanline >= info.output_height || jpeg_read_scanlines(&info, &row, 1) != 1 || hasFailed)
        return false;
    if (info.out_color_space == JCS_CMYK
        && info.saw_Adobe_marker == FALSE) // Adobe's programs store them inverted
        for (JDIMENSION i = 0; i < 4 * info.output_width; ++i)
            row[i] = MAXJSAMPLE - row[i];
    return true;
}

bool JpegDecoder::finish()
{
    if (setjmp(onError) != 0) // NOLINT
        return false;
    return jpeg_finish_decompress(&info) == TRUE && !hasFailed;
}
