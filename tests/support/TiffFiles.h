#pragma once

#include <QSize>
#include <QString>

/// TIFF files as scanners and raw converters write them, made by libtiff: 16 bits a channel.
namespace TiffFiles {

struct Kind
{
    int tile = 0; ///< side of a tile, or 0 for strips
    int planes = 0;
    int samples = 0;
    int compression = 0;
    int orientation = 1;
};

constexpr QSize size(21, 22);

/// A sample as it is stored.
inline quint16 value(int x, int y, int sample)
{
    return quint16(x * 2500 + y * 77 + sample * 5000 + 3);
}

void make(const QString &path, const Kind &kind);

} // namespace TiffFiles
