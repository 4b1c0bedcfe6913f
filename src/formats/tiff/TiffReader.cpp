#include "formats/tiff/TiffReader.h"

#include <QColorSpace>
#include <QImageReader>
#include <QIODevice>

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
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

/// False for tiles or strips that are much larger than the picture: the library takes memory for one in full.
bool isInProportion(TIFF *file)
{
    const QSize size = sizeOf(file);
    const qint64 most = 16LL * size.width() * size.height() + (64LL << 20);
    const qint64 piece = TIFFIsTiled(file) ? TIFFTileSize(file) : TIFFStripSize(file);
    return piece > 0 && piece <= most;
}

bool isGray(TIFF *file)
{
    const auto photometric = tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC);
    return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
}

/// Samples of 16 bits.
class DeepPicture
{
public:
    explicit DeepPicture(TIFF *file)
        : file(file)
        , size(sizeOf(file))
        , samples(tag<uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL))
        , photometric(tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC))
        , separate(tag<uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE)
    {
    }

    bool isDeep() const
    {
        return tag<uint16_t>(file, TIFFTAG_BITSPERSAMPLE) == 16
               && tag<uint16_t>(file, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_UINT
               && ((isGray(file) && samples >= 1) || (photometric == PHOTOMETRIC_RGB && samples >= 3));
    }

    QImage read()
    {
        const int colours = isGray(file) ? 1 : 3;
        const uint16_t kind = samples > colours ? alphaKind(file) : uint16_t(EXTRASAMPLE_UNSPECIFIED);
        const bool hasAlpha = kind == EXTRASAMPLE_ASSOCALPHA || kind == EXTRASAMPLE_UNASSALPHA;
        const QImage::Format format = kind == EXTRASAMPLE_ASSOCALPHA   ? QImage::Format_RGBA64_Premultiplied
                                      : kind == EXTRASAMPLE_UNASSALPHA ? QImage::Format_RGBA64
                                      : isGray(file)                   ? QImage::Format_Grayscale16
                                                                       : QImage::Format_RGBX64;
        if (!QImageIOHandler::allocateImage(size, format, &image))
            return {};
        image.fill(Qt::black);
        alphaSample = hasAlpha ? colours : -1;
        planes = separate ? colours + hasAlpha : 1; // what else the file has is not looked at
        if (TIFFIsTiled(file))
            readTiles();
        else
            readRows();
        return image;
    }

private:
    int samplesTogether() const { return separate ? 1 : samples; }

    void readRows()
    {
        std::vector<uint16_t> row(static_cast<size_t>(TIFFScanlineSize(file)) / 2 + 1);
        if (row.size() <= static_cast<size_t>(size.width()) * samplesTogether())
            return;
        for (int plane = 0; plane < planes; ++plane) {
            for (int y = 0; y < size.height(); ++y) {
                if (TIFFReadScanline(file, row.data(), y, static_cast<uint16_t>(plane)) != 1)
                    break;
                put(row.data(), 0, y, size.width(), plane);
            }
        }
    }

    void readTiles()
    {
        const auto width = static_cast<int>(tag<uint32_t>(file, TIFFTAG_TILEWIDTH));
        const auto height = static_cast<int>(tag<uint32_t>(file, TIFFTAG_TILELENGTH));
        const qint64 needed = 2LL * width * height * samplesTogether();
        // A tile may stand over the edge, but not be much larger than the picture.
        if (width < 1 || height < 1 || width > 2 * size.width() + 4096 || height > 2 * size.height() + 4096
            || needed > image.sizeInBytes() + (64LL << 20) || TIFFTileSize(file) < needed)
            return;
        std::vector<uint16_t> tile(static_cast<size_t>(TIFFTileSize(file)) / 2 + 1);
        for (int plane = 0; plane < planes; ++plane) {
            for (int top = 0; top < size.height(); top += height) {
                for (int left = 0; left < size.width(); left += width) {
                    if (TIFFReadTile(file, tile.data(), left, top, 0, static_cast<uint16_t>(plane)) < 0)
                        return;
                    for (int y = 0; y < std::min(height, size.height() - top); ++y)
                        put(tile.data() + static_cast<size_t>(y) * width * samplesTogether(), left, top + y,
                            std::min(width, size.width() - left), plane);
                }
            }
        }
    }

    /// Puts a row of `count` pixels in place; of separate planes, the samples of one.
    void put(const uint16_t *from, int x, int y, int count, int plane)
    {
        const int stride = image.depth() / 16;
        auto *to = reinterpret_cast<uint16_t *>(image.scanLine(y)) + static_cast<size_t>(stride) * x;
        const uint16_t invert = photometric == PHOTOMETRIC_MINISWHITE ? 0xffff : 0;
        const int together = samplesTogether();
        for (int i = 0; i < count; ++i, to += stride, from += together) {
            for (int offset = 0; offset < together; ++offset) {
                const int sample = plane + offset;
                if (sample == alphaSample)
                    to[3] = from[offset];
                else if (photometric == PHOTOMETRIC_RGB && sample < 3)
                    to[sample] = from[offset];
                else if (photometric != PHOTOMETRIC_RGB && sample == 0)
                    std::fill_n(to, std::min(stride, 3), uint16_t(from[offset] ^ invert));
            }
        }
    }

    TIFF *const file;
    const QSize size;
    const int samples;
    const uint16_t photometric;
    const bool separate;
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
    if (isGray(file) && !picture.alpha) // as its profile expects
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
    if (TIFFGetField(file.get(), TIFFTAG_ICCPROFILE, &length, &profile) == 1 && length > 0) {
        picture.image.setColorSpace(
            QColorSpace::fromIccProfile(QByteArray(static_cast<const char *>(profile), int(length))));
    }
    return picture;
}
