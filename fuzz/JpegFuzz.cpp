// Feeds bytes to the decoder of JPEG thumbnails, and holds what it makes of progressive pictures against the
// library's own decode at an eighth.

#include "shared/image/JpegEighth.h"

#include <QImageReader>

#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <csetjmp>
#include <cstdlib>

namespace {

/// Goes through the library's rows until it fails, or until a pixel is another than in `image`.
bool isAsInLibrary(const uint8_t *data, size_t size, const QImage &image)
{
    static std::jmp_buf failed;
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr) { std::longjmp(failed, 1); };
    errors.emit_message = [](j_common_ptr, int) {};
    jpeg_create_decompress(&info);
    static bool isSame;
    static uchar *row;
    isSame = true;
    row = nullptr;
    if (setjmp(failed) == 0) {
        jpeg_mem_src(&info, data, static_cast<unsigned long>(size));
        jpeg_read_header(&info, TRUE);
        info.scale_denom = 8;
        info.out_color_space = JCS_EXT_BGRX;
        if (jpeg_has_multiple_scans(&info) == TRUE) {
            jpeg_start_decompress(&info);
            isSame = int(info.output_width) == image.width() && int(info.output_height) == image.height();
            row = static_cast<uchar *>(std::malloc(4 * info.output_width));
            for (int y = 0; isSame && y < image.height(); ++y) {
                jpeg_read_scanlines(&info, &row, 1);
                const uchar *const ours = image.constScanLine(y);
                for (int x = 0; x < 4 * image.width(); ++x)
                    isSame = isSame && (x % 4 == 3 || std::abs(ours[x] - row[x]) <= 2);
            }
        }
    }
    std::free(row);
    jpeg_destroy_decompress(&info);
    return isSame;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QImage image = readJpegEighth(bytes);
    if (!image.isNull() && !isAsInLibrary(data, size, image.convertToFormat(QImage::Format_RGB32)))
        std::abort();
    return 0;
}
