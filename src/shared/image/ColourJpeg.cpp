#include "shared/image/ColourJpeg.h"

#include "shared/image/ColourConversion.h"

#include <QByteArray>
#include <QImageIOHandler>
#include <QtEndian>

#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <csetjmp>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

/// True for a frame of four components, as far as markers stand before it without padding.
bool hasFourComponents(QIODevice &file)
{
    constexpr int mostMarkers = 1000;
    if (!file.seek(0) || file.read(2) != "\xff\xd8")
        return false;
    for (int i = 0; i < mostMarkers; ++i) {
        const QByteArray head = file.read(4);
        if (head.size() < 4 || head[0] != '\xff')
            return false;
        const auto marker = static_cast<uchar>(head[1]);
        const bool isFrame =
            marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (isFrame)
            return file.read(6).endsWith('\4');
        const int length = qFromBigEndian<quint16>(head.constData() + 2);
        if (length < 2 || file.skip(length - 2) != length - 2)
            return false;
    }
    return false;
}

/// libjpeg's decoder. Its errors come back to where `onError` was set; no object may be made in between.
class Decoder
{
public:
    explicit Decoder(const QByteArray &file)
    {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr common) {
            std::longjmp(static_cast<Decoder *>(common->client_data)->onError, 1);
        };
        errors.emit_message = [](j_common_ptr, int) {
        }; // what is wrong with a file is no news for the terminal
        info.client_data = this;
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const uchar *>(file.constData()),
                     static_cast<unsigned long>(file.size()));
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;

    /// False if there is no such file. Takes the smallest of libjpeg's sizes that is not below `scaled`.
    bool start(QSize scaled)
    {
        if (setjmp(onError) != 0) // NOLINT
            return false;
        jpeg_save_markers(&info, JPEG_APP0 + 2, 0xffff);
        jpeg_read_header(&info, TRUE);
        if (info.jpeg_color_space != JCS_CMYK && info.jpeg_color_space != JCS_YCCK)
            return false;
        info.out_color_space = JCS_CMYK;
        const auto covers = [&](unsigned denominator) {
            return info.image_width / denominator >= static_cast<unsigned>(scaled.width())
                   && info.image_height / denominator >= static_cast<unsigned>(scaled.height());
        };
        while (!scaled.isEmpty() && info.scale_denom < 8 && covers(2 * info.scale_denom))
            info.scale_denom *= 2;
        return jpeg_start_decompress(&info) == TRUE;
    }

    QSize size() const { return {static_cast<int>(info.output_width), static_cast<int>(info.output_height)}; }

    /// Dots a metre, across and down; 0 if the file does not tell.
    QSize resolution() const
    {
        const double perMetre = info.density_unit == 1 ? 100 / 2.54 : info.density_unit == 2 ? 100 : 0;
        return QSizeF(info.X_density * perMetre, info.Y_density * perMetre).toSize();
    }

    QByteArray profile()
    {
        JOCTET *bytes = nullptr;
        unsigned length = 0;
        if (jpeg_read_icc_profile(&info, &bytes, &length) == FALSE)
            return {};
        const std::unique_ptr<JOCTET, decltype(&std::free)> owner(bytes, std::free);
        return QByteArray(reinterpret_cast<const char *>(bytes), length);
    }

    /// The next row, four inks a pixel, as what each leaves of the paper's white. False if the file has no
    /// more.
    bool read(JSAMPLE *row)
    {
        if (setjmp(onError) != 0) // NOLINT
            return false;
        if (jpeg_read_scanlines(&info, &row, 1) != 1)
            return false;
        if (info.saw_Adobe_marker == FALSE) // Adobe's programs store them inverted
            for (JDIMENSION i = 0; i < 4 * info.output_width; ++i)
                row[i] = MAXJSAMPLE - row[i];
        return true;
    }

private:
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf onError{};
};

} // namespace

QImage readInkJpeg(QIODevice &file, QSize scaled)
{
    if (!hasFourComponents(file) || !file.seek(0))
        return {};
    const QByteArray bytes = file.readAll();
    Decoder decoder(bytes);
    if (!decoder.start(scaled))
        return {};
    const QByteArray profile = decoder.profile();
    QImage inked, black;
    if (profile.isEmpty() || !QImageIOHandler::allocateImage(decoder.size(), QImage::Format_RGBX8888, &inked)
        || !QImageIOHandler::allocateImage(decoder.size(), QImage::Format_Grayscale8, &black))
        return {};
    inked.fill(Qt::white);
    black.fill(Qt::white);
    std::vector<JSAMPLE> row(4 * static_cast<size_t>(inked.width()));
    for (int y = 0; y < inked.height() && decoder.read(row.data()); ++y) {
        uchar *pixel = inked.scanLine(y);
        uchar *key = black.scanLine(y);
        for (size_t x = 0; x < row.size(); x += 4, pixel += 4) {
            std::copy_n(row.data() + x, 3, pixel);
            *key++ = row[x + 3];
        }
    }
    inked.setDotsPerMeterX(decoder.resolution().width());
    inked.setDotsPerMeterY(decoder.resolution().height());
    const QImage image = Colour::fromInks(std::move(inked), black, profile);
    return scaled.isEmpty() ? image : image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}
