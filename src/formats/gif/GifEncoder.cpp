#include "formats/gif/GifEncoder.h"

#include <QIODevice>

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

constexpr int mostColours = 256;
constexpr int longestSide = 65535; // the format has 16 bits for it

int writeToDevice(GifFileType *file, const GifByteType *bytes, int length)
{
    auto *const device = static_cast<QIODevice *>(file->UserData);
    return static_cast<int>(device->write(reinterpret_cast<const char *>(bytes), length));
}

/// One byte a pixel. A picture of one bit has its pixels packed, which the encoder would take for indexes.
QImage indexed(const QImage &image)
{
    const bool keepsTable = image.colorCount() > 0 && image.colorCount() <= mostColours && image.depth() == 8;
    return keepsTable ? image : image.convertToFormat(QImage::Format_Indexed8);
}

[[nodiscard]] bool writeFrame(GifFileType *file, const QImage &image, const ColorMapObject &map)
{
    const int width = image.width();
    const int height = image.height();
    EGifSetGifVersion(file, true);
    if (EGifPutScreenDesc(file, width, height, map.ColorCount, 0, &map) == GIF_ERROR
        || EGifPutImageDesc(file, 0, 0, width, height, false, &map) == GIF_ERROR)
        return false;
    const int lineLength = std::min(static_cast<int>(image.bytesPerLine()), width);
    std::vector<GifPixelType> line(lineLength); // the encoder masks the pixels that it is given
    for (int row = 0; row < height; ++row) {
        std::copy_n(image.constScanLine(row), lineLength, line.begin());
        if (EGifPutLine(file, line.data(), lineLength) == GIF_ERROR)
            return false;
    }
    return true;
}

} // namespace

bool GifEncoder::write(const QImage &image, QIODevice &device)
{
    if (image.width() > longestSide || image.height() > longestSide)
        return false;
    const QImage pixels = indexed(image);
    const QList<QRgb> table = pixels.colorTable();
    const int bits = GifBitSize(static_cast<int>(table.size()));
    std::array<GifColorType, mostColours> colours{}; // black beyond the table
    std::transform(table.begin(), table.end(), colours.begin(), [](QRgb colour) {
        return GifColorType{static_cast<GifByteType>(qRed(colour)), static_cast<GifByteType>(qGreen(colour)),
                            static_cast<GifByteType>(qBlue(colour))};
    });
    // The library writes the number of bits as it stands: a reader skips that many colours.
    const ColorMapObject map{1 << bits, bits, false, colours.data()};

    int error = 0;
    GifFileType *const file = EGifOpen(&device, writeToDevice, &error);
    if (!file)
        return false;
    const bool written = writeFrame(file, pixels, map);
    return EGifCloseFile(file, &error) == GIF_OK && written;
}
