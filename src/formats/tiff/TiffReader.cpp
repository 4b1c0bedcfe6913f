#include "formats/tiff/TiffReader.h"

#include "formats/ClampToAlpha.h"

#include <QColorSpace>
#include <QFloat16>
#include <QImageReader>
#include <QIODevice>

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// Colours, transparency, and a few channels of the program that made the file.
constexpr int mostSamples = 16;

using File = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

QIODevice &deviceOf(thandle_t handle)
{
    return *static_cast<QIODevice *>(handle);
}

File open(QIODevice &device)
{
    const TIFFReadWriteProc read = [](thandle_t handle, void *bytes, tmsize_t length) -> tmsize_t {
        return deviceOf(handle).read(static_cast<char *>(bytes), length);
    };
    const TIFFReadWriteProc write = [](thandle_t, void *, tmsize_t) -> tmsize_t { return -1; };
    const TIFFSeekProc seek = [](thandle_t handle, toff_t offset, int whence) -> toff_t {
        QIODevice &device = deviceOf(handle);
        const qint64 from = whence == SEEK_CUR ? device.pos() : whence == SEEK_END ? device.size() : 0;
        const qint64 position = from + static_cast<qint64>(offset);
        return device.seek(position) ? static_cast<toff_t>(position) : static_cast<toff_t>(-1);
    };
    const TIFFCloseProc close = [](thandle_t) { return 0; };
    const TIFFSizeProc size = [](thandle_t handle) { return static_cast<toff_t>(deviceOf(handle).size()); };
    // "m": not mapped into memory.
#if TIFFLIB_VERSION >= 20221213
    // What is wrong with a file is no news for the terminal.
    const TIFFErrorHandlerExtR silence = [](TIFF *, void *, const char *, const char *, va_list) {
        return 1;
    };
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silence, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silence, nullptr);
    return File(TIFFClientOpenExt("picture", "rm", &device, read, write, seek, close, size, nullptr, nullptr,
                                  options.get()),
                TIFFClose);
#else
    return File(TIFFClientOpen("picture", "rm", &device, read, write, seek, close, size, nullptr, nullptr),
                TIFFClose);
#endif
}

template <typename Value>
Value tag(TIFF *file, uint32_t name)
{
    Value value{};
    TIFFGetFieldDefaulted(file, name, &value);
    return value;
}

QSize sizeOf(TIFF *file)
{
    const auto width = tag<uint32_t>(file, TIFFTAG_IMAGEWIDTH);
    const auto height = tag<uint32_t>(file, TIFFTAG_IMAGELENGTH);
    constexpr uint32_t longest = 1U << 20;
    return width > longest || height > longest ? QSize() : QSize(int(width), int(height));
}

/// The turn for a value of the orientation tag.
QImageIOHandler::Transformations transformationOf(uint16_t orientation)
{
    constexpr QImageIOHandler::Transformation turns[] = {QImageIOHandler::TransformationNone,
                                                         QImageIOHandler::TransformationMirror,
                                                         QImageIOHandler::TransformationRotate180,
                                                         QImageIOHandler::TransformationFlip,
                                                         QImageIOHandler::TransformationFlipAndRotate90,
                                                         QImageIOHandler::TransformationRotate90,
                                                         QImageIOHandler::TransformationMirrorAndRotate90,
                                                         QImageIOHandler::TransformationRotate270};
    return orientation >= 1 && orientation <= 8 ? turns[orientation - 1] : turns[0];
}

/// What the sample behind the colours means.
uint16_t alphaKind(TIFF *file)
{
    uint16_t count = 0;
    uint16_t *kinds = nullptr;
    const bool known = TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &count, &kinds) == 1 && count > 0;
    return known ? kinds[0] : uint16_t(EXTRASAMPLE_UNSPECIFIED);
}

/// False for a strip, or tiles together, much larger than the picture: they take memory and time in full.
bool isInProportion(TIFF *file)
{
    constexpr qint64 spare = 64 << 20;
    const QSize size = sizeOf(file);
    const int bits =
        tag<uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL) * tag<uint16_t>(file, TIFFTAG_BITSPERSAMPLE);
    const qint64 most = 4LL * size.width() * size.height() * std::max(bits / 8, 1) + spare;
    if (!TIFFIsTiled(file))
        return TIFFStripSize(file) > 0 && TIFFStripSize(file) <= most;
    return TIFFTileSize(file) > 0
           && TIFFTileSize(file) <= most / std::max<qint64>(TIFFNumberOfTiles(file), 1);
}

/// How many of a pixel's samples make its colour; 0 if their meaning is not known.
int coloursOf(TIFF *file)
{
    switch (tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC)) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return 1;
    case PHOTOMETRIC_RGB:
        return 3;
    case PHOTOMETRIC_SEPARATED:
        return tag<uint16_t>(file, TIFFTAG_INKSET) == INKSET_CMYK ? 4 : 0;
    default:
        return 0;
    }
}

/// Samples of more than 8 bits, brought to 16.
class DeepPicture
{
public:
    explicit DeepPicture(TIFF *file)
        : file(file)
        , size(sizeOf(file))
        , samples(tag<uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL))
        , bits(tag<uint16_t>(file, TIFFTAG_BITSPERSAMPLE))
        , sampleFormat(tag<uint16_t>(file, TIFFTAG_SAMPLEFORMAT))
        , photometric(tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC))
        , separate(tag<uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE)
    {
    }

    bool isDeep() const
    {
        const bool whole = sampleFormat == SAMPLEFORMAT_UINT && ((bits > 8 && bits <= 16) || bits == 32);
        const bool floating = sampleFormat == SAMPLEFORMAT_IEEEFP && (bits == 16 || bits == 32 || bits == 64);
        return (whole || floating) && colours > 0 && samples >= colours;
    }

    QImage read()
    {
        const uint16_t kind = samples > colours ? alphaKind(file) : uint16_t(EXTRASAMPLE_UNSPECIFIED);
        const bool hasAlpha = kind == EXTRASAMPLE_ASSOCALPHA || kind == EXTRASAMPLE_UNASSALPHA;
        const QImage::Format format = kind == EXTRASAMPLE_ASSOCALPHA   ? QImage::Format_RGBA64_Premultiplied
                                      : kind == EXTRASAMPLE_UNASSALPHA ? QImage::Format_RGBA64
                                      : colours == 1                   ? QImage::Format_Grayscale16
                                                                       : QImage::Format_RGBX64;
        if (!QImageIOHandler::allocateImage(size, format, &image))
            return {};
        image.fill(Qt::black);
        alphaSample = hasAlpha ? colours : -1;
        planes = separate ? colours + hasAlpha : 1; // what else the file has is not looked at
        if (sampleFormat == SAMPLEFORMAT_IEEEFP && colours == 1) {
            // Measurements have ranges of their own.
            readAll([this](const uchar *row, QPoint, int count, int plane) {
                if (plane == 0)
                    measure(row, count);
            });
        }
        bool found = false;
        readAll([&](const uchar *row, QPoint at, int count, int plane) {
            put(row, at, count, plane);
            found = true;
        });
        if (kind == EXTRASAMPLE_ASSOCALPHA)
            clampToAlpha<uint16_t>(image);
        return found ? image : QImage();
    }

private:
    int samplesTogether() const { return separate ? 1 : samples; }

    /// Gives `take` the rows of all tiles or of the picture: their bytes, place, count of pixels and plane.
    template <typename Take>
    void readAll(Take take)
    {
        if (TIFFIsTiled(file))
            readTiles(take);
        else
            readRows(take);
    }

    template <typename Take>
    void readRows(Take take)
    {
        std::vector<uchar> row(static_cast<size_t>(TIFFScanlineSize(file)) + spareBytes);
        if (static_cast<qint64>(row.size() - spareBytes) * 8
            < static_cast<qint64>(size.width()) * samplesTogether() * bits)
            return;
        for (int plane = 0; plane < planes; ++plane) {
            for (int y = 0; y < size.height(); ++y) {
                if (TIFFReadScanline(file, row.data(), y, static_cast<uint16_t>(plane)) != 1)
                    break;
                take(row.data(), QPoint(0, y), size.width(), plane);
            }
        }
    }

    template <typename Take>
    void readTiles(Take take)
    {
        const auto width = static_cast<int>(tag<uint32_t>(file, TIFFTAG_TILEWIDTH));
        const auto height = static_cast<int>(tag<uint32_t>(file, TIFFTAG_TILELENGTH));
        const tmsize_t rowBytes = TIFFTileRowSize(file);
        // A tile may stand over the edge, but not be much larger than the picture.
        if (width < 1 || height < 1 || width > 2 * size.width() + 4096 || height > 2 * size.height() + 4096
            || rowBytes * 8 < static_cast<qint64>(width) * samplesTogether() * bits
            || TIFFTileSize(file) < rowBytes * height)
            return;
        std::vector<uchar> tile(static_cast<size_t>(TIFFTileSize(file)) + spareBytes);
        for (int plane = 0; plane < planes; ++plane) {
            for (int top = 0; top < size.height(); top += height) {
                for (int left = 0; left < size.width(); left += width) {
                    if (TIFFReadTile(file, tile.data(), left, top, 0, static_cast<uint16_t>(plane)) < 0)
                        return;
                    for (int y = 0; y < std::min(height, size.height() - top); ++y)
                        take(tile.data() + y * rowBytes, QPoint(left, top + y),
                             std::min(width, size.width() - left), plane);
                }
            }
        }
    }

    /// A number that stands in a row in the machine's own order, as libtiff leaves it.
    template <typename Number>
    static Number numberAt(const uchar *row, qsizetype index)
    {
        Number number;
        std::memcpy(&number, row + index * static_cast<qsizetype>(sizeof number), sizeof number);
        return number;
    }

    double floatAt(const uchar *row, qsizetype index) const
    {
        return bits == 16   ? static_cast<double>(float(numberAt<qfloat16>(row, index)))
               : bits == 32 ? static_cast<double>(numberAt<float>(row, index))
                            : numberAt<double>(row, index);
    }

    /// A sample brought to 16 bits, one of a colour out of the range that was measured.
    uint16_t sampleAt(const uchar *row, qsizetype index, bool isColour) const
    {
        if (sampleFormat == SAMPLEFORMAT_IEEEFP) {
            const double value = floatAt(row, index);
            const double share = isColour ? (value - lowest) / (highest - lowest) : value;
            return share > 0 ? static_cast<uint16_t>(std::min(share, 1.0) * 65535 + 0.5)
                             : 0; // 0 for no number
        }
        if (bits == 16)
            return numberAt<uint16_t>(row, index);
        if (bits == 32)
            return static_cast<uint16_t>(numberAt<uint32_t>(row, index) >> 16);
        const uchar *const from = row + index * bits / 8; // packed, the highest bit first
        const uint32_t three = from[0] << 16 | from[1] << 8 | from[2];
        const uint32_t value = three >> (24 - bits - index * bits % 8) & ((1U << bits) - 1);
        return static_cast<uint16_t>(value << (16 - bits) | value >> (2 * bits - 16));
    }

    /// Widens the range of grey floats, which is from 0 to 1 unless a number is beyond. The largest floats of
    /// all mark places that were not measured.
    void measure(const uchar *row, int count)
    {
        for (int i = 0; i < count; ++i) {
            const double value = floatAt(row, static_cast<qsizetype>(i) * samplesTogether());
            if (std::abs(value) < noMeasurement) {
                lowest = std::min(lowest, value);
                highest = std::max(highest, value);
            }
        }
    }

    /// Puts a row of `count` pixels in place; of separate planes, the samples of one.
    void put(const uchar *row, QPoint at, int count, int plane)
    {
        const int stride = image.depth() / 16;
        auto *to =
            reinterpret_cast<uint16_t *>(image.scanLine(at.y())) + static_cast<size_t>(stride) * at.x();
        const uint16_t invert =
            photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_SEPARATED ? 0xffff : 0;
        const int together = samplesTogether();
        for (int i = 0; i < count; ++i, to += stride) {
            for (int offset = 0; offset < together; ++offset) {
                const int sample = plane + offset;
                if (sample >= colours && sample != alphaSample)
                    break;
                const uint16_t value =
                    sampleAt(row, static_cast<qsizetype>(i) * together + offset, sample != alphaSample);
                if (sample == alphaSample)
                    to[3] = value;
                else if (colours == 1)
                    std::fill_n(to, std::min(stride, 3), uint16_t(value ^ invert));
                else if (sample < 3)
                    to[sample] = value ^ invert;
                else // black ink
                    std::transform(to, to + 3, to, [&](uint32_t colour) {
                        return static_cast<uint16_t>(colour * (value ^ invert) / 0xffff);
                    });
            }
        }
    }

    static constexpr double noMeasurement = 1e30;
    static constexpr size_t spareBytes = 2; // behind the last sample, which is read by three bytes

    TIFF *const file;
    const QSize size;
    const int samples;
    const int bits;
    const uint16_t sampleFormat;
    const uint16_t photometric;
    const bool separate;
    const int colours = coloursOf(file); ///< how many of the samples make the colour
    double lowest = 0;
    double highest = 1;
    QImage image;
    int alphaSample = -1;
    int planes = 1;
};

/// Anything else, as libtiff makes 8 bits of it.
QImage readPlain(TIFF *file)
{
    char why[1024];
    TIFFRGBAImage picture;
    QImage image;
    if (TIFFRGBAImageOK(file, why) != 1 || TIFFRGBAImageBegin(&picture, file, 0, why) != 1)
        return image;
    picture.req_orientation = picture.orientation; // turned by the caller
    const auto format = picture.alpha ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_RGBX8888;
    if (QImageIOHandler::allocateImage(sizeOf(file), format, &image)) {
        image.fill(Qt::black);
        TIFFRGBAImageGet(&picture, reinterpret_cast<uint32_t *>(image.bits()), picture.width, picture.height);
    }
    TIFFRGBAImageEnd(&picture);
    if (coloursOf(file) == 1 && !picture.alpha) // as its profile expects
        image.convertTo(QImage::Format_Grayscale8);
    return image;
}

} // namespace

bool TiffReader::isNeeded(QIODevice &device)
{
    const File file = open(device);
    return file
           && (DeepPicture(file.get()).isDeep()
               || tag<uint16_t>(file.get(), TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE);
}

TiffReader::Picture TiffReader::read(QIODevice &device)
{
    const File file = open(device);
    if (!file || sizeOf(file.get()).isEmpty()
        || tag<uint16_t>(file.get(), TIFFTAG_SAMPLESPERPIXEL) > mostSamples || !isInProportion(file.get()))
        return {};
    DeepPicture deep(file.get());
    Picture picture{deep.isDeep() ? deep.read() : readPlain(file.get()),
                    transformationOf(tag<uint16_t>(file.get(), TIFFTAG_ORIENTATION))};
    uint32_t length = 0;
    void *profile = nullptr;
    const bool isCmyk = tag<uint16_t>(file.get(), TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_SEPARATED;
    if (!isCmyk && TIFFGetField(file.get(), TIFFTAG_ICCPROFILE, &length, &profile) == 1 && length > 0) {
        picture.image.setColorSpace(
            QColorSpace::fromIccProfile(QByteArray(static_cast<const char *>(profile), int(length))));
    }
    return picture;
}
