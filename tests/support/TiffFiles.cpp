#include "support/TiffFiles.h"

#include <tiffio.h>

#include <vector>

void TiffFiles::make(const QString &path, const Kind &kind)
{
    TIFF *const file = TIFFOpen(qPrintable(path), "w");
    if (!file)
        qFatal("cannot write %s", qPrintable(path));
    const auto [tile, planes, samples, compression, orientation] = kind;
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, planes);
    TIFFSetField(file, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(file, TIFFTAG_ORIENTATION, orientation);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, samples > 1 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    const uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    if (samples == 4)
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    if (tile) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, tile);
        TIFFSetField(file, TIFFTAG_TILELENGTH, tile);
    } else {
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, 5);
    }
    const bool separate = planes == PLANARCONFIG_SEPARATE;
    const int together = separate ? 1 : samples;
    const int width = tile ? tile : size.width();
    const int height = tile ? tile : 1;
    std::vector<quint16> block(size_t(width) * height * together);
    for (int plane = 0; plane < (separate ? samples : 1); ++plane) {
        for (int top = 0; top < size.height(); top += height) {
            for (int left = 0; left < size.width(); left += width) {
                for (size_t i = 0; i < block.size(); ++i) {
                    const int pixel = int(i) / together;
                    block[i] = value(left + pixel % width, top + pixel / width, plane + int(i) % together);
                }
                if (tile)
                    TIFFWriteTile(file, block.data(), left, top, 0, plane);
                else
                    TIFFWriteScanline(file, block.data(), top, plane);
            }
        }
    }
    TIFFClose(file);
}
