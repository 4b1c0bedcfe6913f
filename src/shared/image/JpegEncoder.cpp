#include "shared/image/JpegEncoder.h"

#include "shared/image/JpegDecoder.h"

#include <QBuffer>

JpegEncoder::JpegEncoder(QIODevice &device)
    : device(device)
{
    info.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr common) {
        std::longjmp(static_cast<JpegEncoder *>(common->client_data)->onError, 1);
    };
    errors.emit_message = [](j_common_ptr, int) {};
    info.client_data = this;
    if (setjmp(onError) != 0) // NOLINT
        return;
    jpeg_create_compress(&info);
    destination.next_output_byte = piece.data();
    destination.free_in_buffer = piece.size();
    destination.init_destination = [](j_compress_ptr) {};
    destination.empty_output_buffer = [](j_compress_ptr info) -> boolean {
        auto *const encoder = static_cast<JpegEncoder *>(info->client_data);
        encoder->writePiece(encoder->piece.size());
        return TRUE;
    };
    destination.term_destination = [](j_compress_ptr info) {
        auto *const encoder = static_cast<JpegEncoder *>(info->client_data);
        encoder->writePiece(encoder->piece.size() - info->dest->free_in_buffer);
    };
    info.dest = &destination;
}

void JpegEncoder::writePiece(size_t length)
{
    const auto bytes = static_cast<qint64>(length);
    failed = failed || device.write(reinterpret_cast<const char *>(piece.data()), bytes) != bytes;
    destination.next_output_byte = piece.data();
    destination.free_in_buffer = piece.size();
}

bool JpegEncoder::start(QByteArray other, QSize size, Codes codes)
{
    QBuffer buffer(&other);
    if (!buffer.open(QIODevice::ReadOnly))
        return false;
    JpegDecoder decoder(buffer);
    if (!decoder.readHeader())
        return false;
    const jpeg_decompress_struct &like = decoder.header();
    if (setjmp(onError) != 0) // NOLINT
        return false;
    jpeg_copy_critical_parameters(const_cast<jpeg_decompress_struct *>(&like), &info);
    info.image_width = static_cast<JDIMENSION>(size.width());
    info.image_height = static_cast<JDIMENSION>(size.height());
    info.in_color_space = like.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    info.optimize_coding = codes == Codes::Best ? TRUE : FALSE;
    info.write_JFIF_header = FALSE; // it is among the other file's markers
    if (like.progressive_mode == TRUE)
        jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    for (jpeg_saved_marker_ptr marker = like.marker_list; marker; marker = marker->next)
        jpeg_write_marker(&info, marker->marker, marker->data, marker->data_length);
    return !failed;
}

bool JpegEncoder::write(uchar *row)
{
    if (setjmp(onError) != 0) // NOLINT
        return false;
    return jpeg_write_scanlines(&info, &row, 1) == 1 && !failed;
}

bool JpegEncoder::finish()
{
    if (setjmp(onError) != 0) // NOLINT
        return false;
    jpeg_finish_compress(&info);
    return !failed;
}
