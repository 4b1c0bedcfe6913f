#pragma once

#include <QByteArray>
#include <QImage>

#include <functional>

/// Makes layered .psd, .psb and .pspimage files as the programs of their origin do.
namespace LayeredFiles {

enum Format
{
    Psd,
    Psb,
    Psp
};
enum Mode
{
    Bitmap,
    Gray,
    Indexed,
    Rgb,
    Cmyk,
    Multichannel = 7,
    Duotone,
    Lab
};
enum Compression
{
    Raw,
    RunLength,
    Zip,
    ZipWithPrediction ///< not in .pspimage
};

/// The first row has no two equal neighbours, the ninth one has runs of 193.
inline int pattern(int channel, int x, int y)
{
    return (x / (1 + y * y * 3) * 37 + y * 11 + channel * 83) % 256;
}

/// A colour of an indexed picture.
inline QRgb paletteColour(int index)
{
    return qRgb(index, 255 - index, index / 2);
}

struct Picture
{
    Format format;
    QSize size;
    int mode = Rgb;
    int channels = 3;
    int depth = 8; ///< bits a sample
    int compression = Raw;
    QSize claimedSize = size; ///< what the file tells
    int layers = 0;           ///< below 0: the merged picture is transparent
    QByteArray channelNames = {};
    QByteArray profile = {};
    QImage preview = {}; ///< of .pspimage, stored as a JPEG if it is not null
    /// The stored sample from 0 to 255, which is brought to the range of the depth.
    std::function<int(int channel, int x, int y)> sample = pattern;
};

QByteArray make(const Picture &picture);

} // namespace LayeredFiles
