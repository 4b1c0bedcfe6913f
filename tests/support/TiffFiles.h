#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

#include <tiff.h>

/// TIFF files as scanners, raw converters and laboratories write them, made by libtiff.
namespace TiffFiles {

struct Kind
{
    int tile = 0; ///< side of a tile, or 0 for strips
    int planes = PLANARCONFIG_CONTIG;
    int samples = 1;
    int compression = COMPRESSION_NONE;
    int orientation = ORIENTATION_TOPLEFT;
    int bits = 16;
    int sampleFormat = SAMPLEFORMAT_UINT;
    bool cmyk = false;
    double factor = 1; ///< of floats, which are from 0 to 1 otherwise
    QByteArray profile = {};

    int colours() const { return cmyk ? 4 : samples > 2 ? 3 : 1; }
    bool hasAlpha() const { return samples == colours() + 1; } ///< straight
};

constexpr QSize size(21, 22);

/// A sample, of 65535.
inline quint16 value(int x, int y, int sample)
{
    return quint16(x * 2500 + y * 77 + sample * 5000 + 3);
}

void make(const QString &path, const Kind &kind);

} // namespace TiffFiles
