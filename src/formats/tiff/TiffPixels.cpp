#include "formats/tiff/TiffPixels.h"

#include "formats/ClampToAlpha.h"
#include "formats/LabColour.h"
#include "formats/tiff/TiffSamples.h"
#include "formats/tiff/TiffTags.h"
#include "shared/image/BoxMeans.h"
#include "shared/image/ColourConversion.h"

#include <QColorSpace>
#include <QImageIOHandler>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

using Tiff::sizeOf, Tiff::tag;

namespace {

/// What the sample behind the colours means.
uint16_t alphaKind(TIFF *file)
{
    uint16_t count = 0;
    uint16_t *kinds = nullptr;
    const bool known = TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &count, &kinds) == 1 && count > 0;
    return known ? kinds[0] : uint16_t(EXTRASAMPLE_UNSPECIFIED);
}

/// How many of a pixel's samples make its colour; 0 if they are an index, or their meaning is not known.
int coloursOf(TIFF *file)
{
    switch (tag<uint16_t>(file, TIFFTAG_PHOTOMETRIC, Tiff::unknownPhotometric)) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return 1;
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
        return 3;
    case PHOTOMETRIC_SEPARATED:
        return tag<uint16_t>(file, TIFFTAG_INKSET) == INKSET_CMYK ? 4 : 0;
    default:
        return 0;
    }
}

/// The format for samples that are put in order, before they are brought to the one wanted.
QImage::Format inOrder(QImage::Format wanted)
{
    switch (wanted) {
    case QImage::Format_RGB32:
        return QImage::Format_RGBX8888;
    case QImage::Format_ARGB32:
        return QImage::Format_RGBA8888;
    case QImage::Format_ARGB32_Premultiplied:
        return QImage::Format_RGBA8888_Premultiplied;
    default:
        return wanted;
    }
}

/// The picture as it is stored. Samples of more than 8 bits are brought to 16.
class StoredPicture
{
public:
    explicit StoredPicture(TIFF *file)
        : file(file)
        , size(sizeOf(file))
        , samples(tag<uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL))
        , kind(file)
        , separate(tag<uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE)
    {
    }

    QImage::Format format() const
    {
        switch (alpha) {
        case Alpha::Premultiplied:
            return deep ? QImage::Format_RGBA64_Premultiplied : QImage::Format_ARGB32_Premultiplied;
        case Alpha::Straight:
            return deep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
        case Alpha::None:
            break;
        }
        if (samples == 1 && bits == 1 && colours == 1)
            return QImage::Format_Mono;
        if (samples == 1 && bits == 8
            && (photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_PALETTE))
            return QImage::Format_Indexed8;
        if (colours == 1)
            return deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
        return deep ? QImage::Format_RGBX64 : QImage::Format_RGB32;
    }

    /// True if the means of samples as they are stored are those of the colours that are shown.
    bool canShrink() const
    {
        return sampled && alpha == Alpha::None && (bits == 8 || kind.isPlain()) && !kind.isLab()
               && (photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_RGB)
               && samplesTogether() <= BoxMeans<uint16_t>::mostChannels && bandHeight() > 0
               && static_cast<size_t>(bandHeight()) <= mostBandSamples / rowSamples();
    }

    QImage read(QSize scaled)
    {
        if (scaled.isValid())
            shown = scaled;
        const int depth = QImage::toPixelFormat(format()).bitsPerPixel();
        QImage stored;
        if (samples == 1 && depth == bits && depth <= 8)
            stored = readWith(&StoredPicture::copy, format());
        else if (sampled && !deep && colours == 3 && !separate)
            stored = readWith(&StoredPicture::putRgb, format());
        else if (sampled)
            stored = readWith(deep ? &StoredPicture::put<uint16_t> : &StoredPicture::put<uint8_t>,
                              inOrder(format()));
        // Some codecs give whole strips alone.
        return stored.isNull() && shown == size ? readPlain() : stored;
    }

private:
    enum class Alpha
    {
        None,
        Straight,
        Premultiplied
    };

    using Put = void (StoredPicture::*)(const uchar *row, QPoint at, int count, int plane);

    Alpha alphaOf() const
    {
        switch (sampled && samples > colours ? alphaKind(file) : uint16_t(EXTRASAMPLE_UNSPECIFIED)) {
        case EXTRASAMPLE_ASSOCALPHA:
            return Alpha::Premultiplied;
        case EXTRASAMPLE_UNASSALPHA:
            return Alpha::Straight;
        default: // of four 8-bit samples most programs take the last for alpha
            return sampled && !deep && colours == 3 && samples > 3 ? Alpha::Straight : Alpha::None;
        }
    }

    QImage readWith(Put put, QImage::Format putFormat)
    {
        if (!QImageIOHandler::allocateImage(shown, putFormat, &image))
            return {};
        if (putFormat == QImage::Format_Mono || putFormat == QImage::Format_Indexed8)
            image.setColorTable(colourTable());
        image.fill(Qt::black);
        const auto ofBlack = deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
        if (colours == 4 && !QImageIOHandler::allocateImage(size, ofBlack, &black))
            return {};
        black.fill(Qt::white);
        alphaSample = alpha == Alpha::None ? -1 : colours;
        if (separate) // what else the file has is not looked at
            planes = std::max(colours, 1) + (alphaSample > 0);
        if (kind.isFloating() && colours == 1 && deep) {
            // Measurements have ranges of their own.
            readAll([this](const uchar *row, QPoint, int count, int plane) {
                if (plane == 0)
                    kind.measure(row, count, samplesTogether());
            });
        }
        bool found = false;
        const auto take = [&](const uchar *row, QPoint at, int count, int plane) {
            (this->*put)(row, at, count, plane);
            found = true;
        };
        if (shown == size)
            readAll(take);
        else if (deep)
            readMeans<uint16_t>(take);
        else
            readMeans<uint8_t>(take);
        if (alpha == Alpha::Premultiplied && deep)
            clampToAlpha<uint16_t>(image);
        else if (alpha == Alpha::Premultiplied)
            clampToAlpha<uint8_t>(image);
        if (colours == 4)
            image = Colour::fromInks(std::move(image), black, Tiff::profile(file));
        if (kind.isLab())
            showLab();
        image.convertTo(format());
        return found ? image : QImage();
    }

    /// Makes colours of samples of Lab.
    void showLab()
    {
        const auto to16 = [](float share) { return uint16_t(std::clamp(share, 0.F, 1.F) * 65535 + 0.5F); };
        for (int y = 0; y < image.height(); ++y) {
            auto *const line = reinterpret_cast<QRgba64 *>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                const auto centred = [](uint16_t sample) { return sample / 257.F - 128; };
                const auto linear = linearSrgbOfLab(line[x].red() / 655.35F, centred(line[x].green()),
                                                    centred(line[x].blue()));
                line[x] =
                    QRgba64::fromRgba64(to16(linear[0]), to16(linear[1]), to16(linear[2]), line[x].alpha());
            }
        }
        image.setColorSpace(QColorSpace::SRgbLinear);
        image.convertToColorSpace(QColorSpace::SRgb);
    }

    /// Anything else, as libtiff makes 8 bits of it.
    QImage readPlain()
    {
        char why[1024];
        TIFFRGBAImage picture;
        if (TIFFRGBAImageOK(file, why) != 1 || TIFFRGBAImageBegin(&picture, file, 0, why) != 1)
            return {};
        picture.req_orientation = picture.orientation; // turned by the caller
        bool found = false;
        image = QImage();
        if (QImageIOHandler::allocateImage(size, QImage::Format_RGBX8888, &image)) {
            image.fill(Qt::black);
            found = TIFFRGBAImageGet(&picture, reinterpret_cast<uint32_t *>(image.bits()), picture.width,
                                     picture.height)
                    == 1;
            image.convertTo(format());
        }
        TIFFRGBAImageEnd(&picture);
        return found ? image : QImage();
    }

    /// The colours of a palette, without the lower half of their 16 bits, or of greys.
    QList<QRgb> colourTable() const
    {
        const int most = (1 << bits) - 1;
        QList<QRgb> table(most + 1);
        uint16_t *red = nullptr;
        uint16_t *green = nullptr;
        uint16_t *blue = nullptr;
        const bool isPalette = colours == 0 && TIFFGetField(file, TIFFTAG_COLORMAP, &red, &green, &blue) == 1;
        for (int i = 0; i <= most; ++i) {
            const int grey = (photometric == PHOTOMETRIC_MINISWHITE ? most - i : i) * 255 / most;
            table[i] = isPalette ? qRgb(red[i] >> 8, green[i] >> 8, blue[i] >> 8) : qRgb(grey, grey, grey);
        }
        return table;
    }

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

    /// How many rows come together.
    int bandHeight() const
    {
        return TIFFIsTiled(file) ? static_cast<int>(tag<uint32_t>(file, TIFFTAG_TILELENGTH)) : 1;
    }

    size_t rowSamples() const { return static_cast<size_t>(size.width()) * samplesTogether(); }

    /// Gives `take` the rows of the picture that is shown: the means of what their samples cover. Those that
    /// cannot be decoded are black. Nothing if none can.
    template <typename Sample, typename Take>
    void readMeans(Take take)
    {
        const int height = bandHeight();
        std::vector<Sample> band(rowSamples() * height);
        BoxMeans<Sample> means(size, shown, samplesTogether());
        int plane = 0;
        int top = 0;
        int y = 0;
        bool found = false;
        const auto finishBand = [&] {
            for (int row = 0; row < std::min(height, size.height() - top); ++row)
                means.take(band.data() + rowSamples() * row, [&](const Sample *mean) {
                    take(reinterpret_cast<const uchar *>(mean), QPoint(0, y++), shown.width(), plane);
                });
            std::fill(band.begin(), band.end(), 0);
            top += height;
            if (top >= size.height()) {
                top = y = 0;
                ++plane;
            }
        };
        readAll([&](const uchar *row, QPoint at, int count, int ofPlane) {
            while (plane < ofPlane || top + height <= at.y())
                finishBand();
            const size_t first =
                rowSamples() * (at.y() - top) + static_cast<size_t>(at.x()) * samplesTogether();
            std::memcpy(band.data() + first, row, sizeof(Sample) * count * samplesTogether());
            found = true;
        });
        while (found && plane < planes)
            finishBand();
    }

    template <typename Take>
    void readRows(Take take)
    {
        std::vector<uchar> row(static_cast<size_t>(TIFFScanlineSize(file)) + Tiff::Samples::spareBytes);
        if (static_cast<qint64>(row.size() - Tiff::Samples::spareBytes) * 8
            < static_cast<qint64>(size.width()) * samplesTogether() * bits)
            return;
        const auto stripHeight = static_cast<int>(std::clamp<uint32_t>(
            tag<uint32_t>(file, TIFFTAG_ROWSPERSTRIP), 1, static_cast<uint32_t>(size.height())));
        for (int plane = 0; plane < planes; ++plane) {
            for (int y = 0; y < size.height(); ++y) {
                if (TIFFReadScanline(file, row.data(), y, static_cast<uint16_t>(plane)) == 1)
                    take(row.data(), QPoint(0, y), size.width(), plane);
                else
                    y += stripHeight - 1 - y % stripHeight;
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
            || (bits == 1 && width % 8 != 0)
            || rowBytes * 8 < static_cast<qint64>(width) * samplesTogether() * bits
            || TIFFTileSize(file) < rowBytes * height)
            return;
        std::vector<uchar> tile(static_cast<size_t>(TIFFTileSize(file)) + Tiff::Samples::spareBytes);
        for (int plane = 0; plane < planes; ++plane) {
            for (int top = 0; top < size.height(); top += height) {
                for (int left = 0; left < size.width(); left += width) {
                    if (TIFFReadTile(file, tile.data(), left, top, 0, static_cast<uint16_t>(plane)) < 0)
                        continue;
                    for (int y = 0; y < std::min(height, size.height() - top); ++y)
                        take(tile.data() + y * rowBytes, QPoint(left, top + y),
                             std::min(width, size.width() - left), plane);
                }
            }
        }
    }

    /// Puts a row of `count` pixels in place that are kept as they are stored.
    void copy(const uchar *row, QPoint at, int count, int)
    {
        std::memcpy(image.scanLine(at.y()) + at.x() * bits / 8, row,
                    (static_cast<size_t>(count) * bits + 7) / 8);
    }

    /// The most frequent kinds: red, green, blue and perhaps alpha of 8 bits each.
    void putRgb(const uchar *row, QPoint at, int count, int)
    {
        auto *const to = reinterpret_cast<QRgb *>(image.scanLine(at.y())) + at.x();
        if (alpha == Alpha::None)
            for (int i = 0; i < count; ++i, row += samples)
                to[i] = qRgb(row[0], row[1], row[2]);
        else
            for (int i = 0; i < count; ++i, row += samples)
                to[i] = qRgba(row[0], row[1], row[2], row[3]);
    }

    /// Puts samples in place, of 8 bits or brought to 16; of separate planes, those of one.
    template <typename Sample>
    void put(const uchar *row, QPoint at, int count, int plane)
    {
        const int stride = image.depth() / (8 * int(sizeof(Sample)));
        auto *const line =
            reinterpret_cast<Sample *>(image.scanLine(at.y())) + static_cast<size_t>(stride) * at.x();
        const bool inverted = photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_SEPARATED;
        const Sample invert = inverted ? std::numeric_limits<Sample>::max() : 0;
        const int together = samplesTogether();
        for (int offset = 0; offset < together; ++offset) {
            const int sample = plane + offset;
            if (sample >= colours && sample != alphaSample)
                break;
            const auto eachOf = [&](auto valueAt, auto set) {
                Sample *to = line;
                for (int i = 0; i < count; ++i, to += stride)
                    set(to, static_cast<Sample>(valueAt(static_cast<qsizetype>(i) * together + offset)));
            };
            const auto each = [&](auto set) {
                if (sizeof(Sample) == 1)
                    eachOf([row](qsizetype index) { return row[index]; }, set);
                else if (kind.isPlain()) // the most frequent kind, without a question for each sample
                    eachOf([row](qsizetype index) { return Tiff::Samples::plainAt(row, index); }, set);
                else if (sample == alphaSample)
                    eachOf([&](qsizetype index) { return kind.alphaAt(row, index); }, set);
                else
                    eachOf([&](qsizetype index) { return kind.colourAt(row, index, sample); }, set);
            };
            if (sample == alphaSample)
                each([](Sample *to, Sample value) { to[3] = value; });
            else if (colours == 1)
                each([=](Sample *to, Sample value) {
                    std::fill_n(to, std::min(stride, 3), Sample(value ^ invert));
                });
            else if (sample < 3)
                each([=](Sample *to, Sample value) { to[sample] = value ^ invert; });
            else
                each([invert, key = reinterpret_cast<Sample *>(black.scanLine(at.y()))
                                    + at.x()](Sample *, Sample value) mutable { *key++ = value ^ invert; });
        }
    }

    static constexpr size_t mostBandSamples = 8 << 20;

    TIFF *const file;
    const QSize size;
    QSize shown = size;
    const int samples;
    Tiff::Samples kind;
    const int bits = kind.bits;
    const uint16_t photometric = kind.photometric;
    const bool separate;
    const int colours = coloursOf(file); ///< how many of the samples make the colour
    const bool sampled = kind.isKnown() && colours > 0 && samples >= colours;
    const bool deep = sampled && (bits > 8 || kind.isLab());
    const Alpha alpha = alphaOf();
    QImage image;
    QImage black; ///< what black ink leaves of white
    int alphaSample = -1;
    int planes = 1;
};

} // namespace

QImage::Format Tiff::formatOf(TIFF *file)
{
    return StoredPicture(file).format();
}

bool Tiff::canShrink(TIFF *file)
{
    return StoredPicture(file).canShrink();
}

QImage Tiff::readPixels(TIFF *file, QSize scaled)
{
    return StoredPicture(file).read(scaled);
}
