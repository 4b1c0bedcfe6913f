#pragma once

#include <QByteArray>
#include <QSize>

#include <functional>

/// Makes layered .psd and .psb files as the program of their origin does.
namespace PsdFiles {

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
    ZipWithPrediction
};

/// Short runs of values that differ by channel and row.
int pattern(int channel, int x, int y);

struct Picture
{
    QSize size;
    int mode = Rgb;
    int channels = 3;
    int depth = 8; ///< bits a sample
    int compression = Raw;
    bool large = false; ///< .psb
    int layers = 0;     ///< below 0: the merged picture is transparent
    bool layersInTaggedBlock = false;
    bool namesChannels = false;
    QByteArray profile = {};
    /// The stored sample from 0 to 255 (above 8 bits: scaled to the range of the depth).
    std::function<int(int channel, int x, int y)> sample = pattern;
};

QByteArray make(const Picture &picture);

} // namespace PsdFiles
