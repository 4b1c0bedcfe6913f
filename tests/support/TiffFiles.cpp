#include "support/TiffFiles.h"

#include <QByteArray>
#include <QFloat16>

#include <tiffio.h>

namespace {

template <typename Number>
QByteArray bytesOf(Number number)
{
    return QByteArray(reinterpret_cast<const char *>(&number), sizeof number);
}

/// The bits of a sample, the highest first where they are no whole bytes.
QByteArray stored(quint16 value, const TiffFiles::Kind &kind)
{
    const double number = value / 65535.0 * kind.factor;
    if (kind.sampleFormat == SAMPLEFORMAT_IEEEFP)
        return kind.bits == 16   ? bytesOf(qfloat16(float(number)))
               : kind.bits == 32 ? bytesOf(float(number))
                                 : bytesOf(number);
    return kind.bits == 32  ? bytesOf(quint32(value) << 16)
           : kind.bits == 8 ? bytesOf(quint8(value >> 8))
                            : bytesOf(value);
}

/// A row of samples of 12 bits out of one of 16.
QByteArray packed(const QByteArray &row)
{
    QByteArray hex; // three digits a sample
    for (qsizetype i = 0; i < row.size(); i += 2)
        hex += QByteArray(1, row[i + 1]).toHex() + QByteArray(1, row[i]).toHex().left(1);
    return QByteArray::fromHex(hex.size() % 2 ? hex + '0' : hex);
}

} // namespace

void TiffFiles::make(const QString &path, const Kind &kind)
{
    TIFF *const file = TIFFOpen(qPrintable(path), "w");
    if (!file)
        qFatal("cannot write %s", qPrintable(path));
    const int samples = kind.samples;
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, kind.sampleFormat);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, kind.planes);
    TIFFSetField(file, TIFFTAG_COMPRESSION, kind.compression);
    TIFFSetField(file, TIFFTAG_ORIENTATION, kind.orientation);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC,
                 kind.cmyk             ? PHOTOMETRIC_SEPARATED
                 : kind.colours() == 3 ? PHOTOMETRIC_RGB
                                       : PHOTOMETRIC_MINISBLACK);
    if (!kind.profile.isEmpty())
        TIFFSetField(file, TIFFTAG_ICCPROFILE, uint32_t(kind.profile.size()), kind.profile.constData());
    const uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    if (kind.hasAlpha())
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    if (kind.tile) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, kind.tile);
        TIFFSetField(file, TIFFTAG_TILELENGTH, kind.tile);
    } else {
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, 5);
    }
    const bool separate = kind.planes == PLANARCONFIG_SEPARATE;
    const int together = separate ? 1 : samples;
    const int width = kind.tile ? kind.tile : size.width();
    const int height = kind.tile ? kind.tile : 1;
    for (int plane = 0; plane < (separate ? samples : 1); ++plane) {
        for (int top = 0; top < size.height(); top += height) {
            for (int left = 0; left < size.width(); left += width) {
                QByteArray block;
                for (int y = top; y < top + height; ++y) {
                    QByteArray row;
                    for (int i = 0; i < width * together; ++i)
                        row += stored(value(left + i / together, y, plane + i % together), kind);
                    block += kind.bits == 12 ? packed(row) : row;
                }
                if (kind.tile)
                    TIFFWriteTile(file, block.data(), left, top, 0, plane);
                else
                    TIFFWriteScanline(file, block.data(), top, plane);
            }
        }
    }
    TIFFClose(file);
}
