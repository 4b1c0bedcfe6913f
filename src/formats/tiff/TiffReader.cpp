#include "formats/tiff/TiffReader.h"

#include "formats/tiff/TiffPixels.h"
#include "formats/tiff/TiffTags.h"

#include <QColorSpace>
#include <QIODevice>

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <memory>

namespace {

// Colours, transparency, and a few channels of the program that made the file.
constexpr int mostSamples = 64;

QIODevice &deviceOf(thandle_t handle)
{
    return *static_cast<QIODevice *>(handle);
}

TIFF *open(QIODevice &device)
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
    return TIFFClientOpenExt("picture", "rm", &device, read, write, seek, close, size, nullptr, nullptr,
                             options.get());
#else
    return TIFFClientOpen("picture", "rm", &device, read, write, seek, close, size, nullptr, nullptr);
#endif
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

/// False for a strip, or tiles together, much larger than the picture: they take memory and time in full.
bool isInProportion(TIFF *file)
{
    constexpr qint64 spare = 64 << 20;
    const QSize size = Tiff::sizeOf(file);
    const int bits =
        Tiff::tag<uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL) * Tiff::tag<uint16_t>(file, TIFFTAG_BITSPERSAMPLE);
    const qint64 most = 4LL * size.width() * size.height() * std::max(bits / 8, 1) + spare;
    if (!TIFFIsTiled(file))
        return TIFFStripSize(file) > 0 && TIFFStripSize(file) <= most;
    return TIFFTileSize(file) > 0
           && TIFFTileSize(file) <= most / std::max<qint64>(TIFFNumberOfTiles(file), 1);
}

/// Dots a metre; 0 if the file has none in a unit of length.
int resolution(TIFF *file, uint32_t name)
{
    const auto unit = Tiff::tag<uint16_t>(file, TIFFTAG_RESOLUTIONUNIT);
    const double perMetre = unit == RESUNIT_CENTIMETER ? 100 : unit == RESUNIT_INCH ? 100 / 2.54 : 0;
    const double dots = static_cast<double>(Tiff::tag<float>(file, name)) * perMetre;
    return dots > 0 && dots < 1e9 ? qRound(dots) : 0;
}

} // namespace

TiffReader::TiffReader(QIODevice &device)
    : file(open(device))
{
    if (file
        && (Tiff::sizeOf(file.get()).isEmpty()
            || Tiff::tag<uint16_t>(file.get(), TIFFTAG_SAMPLESPERPIXEL) > mostSamples
            || !isInProportion(file.get())))
        file.reset();
}

QSize TiffReader::size() const
{
    return file ? Tiff::sizeOf(file.get()) : QSize();
}

QImage::Format TiffReader::imageFormat() const
{
    return file ? Tiff::formatOf(file.get()) : QImage::Format_Invalid;
}

QImageIOHandler::Transformations TiffReader::transformation() const
{
    return file ? transformationOf(Tiff::tag<uint16_t>(file.get(), TIFFTAG_ORIENTATION))
                : QImageIOHandler::TransformationNone;
}

qint64 TiffReader::bufferBytes() const
{
    if (!file)
        return 0;
    return 2
           * static_cast<qint64>(TIFFIsTiled(file.get()) ? TIFFTileSize(file.get())
                                                         : TIFFStripSize(file.get()));
}

bool TiffReader::canShrink() const
{
    return file && Tiff::canShrink(file.get());
}

QImage TiffReader::read(QSize scaled) const
{
    if (!file)
        return {};
    QImage image = Tiff::readPixels(file.get(), scaled);
    image.setDotsPerMeterX(resolution(file.get(), TIFFTAG_XRESOLUTION));
    image.setDotsPerMeterY(resolution(file.get(), TIFFTAG_YRESOLUTION));
    const QByteArray profile = Tiff::profile(file.get());
    const auto photometric = Tiff::tag<uint16_t>(file.get(), TIFFTAG_PHOTOMETRIC);
    const bool isConverted = photometric == PHOTOMETRIC_SEPARATED || photometric == PHOTOMETRIC_CIELAB
                             || photometric == PHOTOMETRIC_ICCLAB;
    if (!profile.isEmpty() && !isConverted)
        image.setColorSpace(QColorSpace::fromIccProfile(profile));
    return image;
}
