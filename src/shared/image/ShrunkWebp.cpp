#include "shared/image/ShrunkWebp.h"

#include "shared/image/BoxMeans.h"

#include <QColorSpace>
#include <QImageIOHandler>
#include <QIODevice>
#include <QSysInfo>

#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr qint64 mostBytes = 256 << 20; ///< of the file
constexpr qint64 headBytes = 4096;      ///< tell what the picture is, but behind a large profile
constexpr int leastStep = 4; ///< below it shows that halved colours are not drawn softly over the next pixels
constexpr int lossy = 1;

using Config = std::unique_ptr<WebPDecoderConfig, decltype([](WebPDecoderConfig *config) {
                                   WebPFreeDecBuffer(&config->output);
                                   delete config;
                               })>;

WebPData dataOf(const QByteArray &bytes)
{
    return {reinterpret_cast<const uint8_t *>(bytes.constData()), static_cast<size_t>(bytes.size())};
}

bool isShrinkable(const WebPBitstreamFeatures &input, QSize size)
{
    // Halved colours of an odd side reach beyond it.
    const bool isOdd = input.format == lossy && (input.width | input.height) % 2 != 0;
    return !input.has_alpha && !input.has_animation && !isOdd && input.width / leastStep >= size.width()
           && input.height / leastStep >= size.height();
}

QColorSpace colourSpaceOf(const WebPData &file)
{
    const std::unique_ptr<WebPDemuxer, decltype(&WebPDemuxDelete)> demuxer(WebPDemux(&file), WebPDemuxDelete);
    WebPChunkIterator chunk{};
    if (!demuxer || WebPDemuxGetChunk(demuxer.get(), "ICCP", 1, &chunk) == 0)
        return {};
    const QByteArray profile(reinterpret_cast<const char *>(chunk.chunk.bytes),
                             static_cast<qsizetype>(chunk.chunk.size));
    WebPDemuxReleaseChunkIterator(&chunk);
    return QColorSpace::fromIccProfile(profile);
}

/// The means of a plane in parts of 256, row by row.
std::vector<quint16> shrunkPlane(const uchar *plane, int stride, QSize full, QSize size)
{
    BoxMeans<uchar, quint16> means(full, size, 1);
    std::vector<quint16> smaller;
    for (int y = 0; y < full.height(); ++y, plane += stride)
        means.take(plane,
                   [&](const quint16 *mean) { smaller.insert(smaller.end(), mean, mean + size.width()); });
    return smaller;
}

/// Decodes planes as they are coded, and makes colours of their means.
bool shrinkPlanes(const WebPData &data, WebPDecoderConfig &config, QImage &image)
{
    config.output.colorspace = MODE_YUV;
    if (WebPDecode(data.bytes, data.size, &config) != VP8_STATUS_OK)
        return false;
    const WebPYUVABuffer &planes = config.output.u.YUVA;
    const QSize full(config.input.width, config.input.height);
    const auto luma = shrunkPlane(planes.y, planes.y_stride, full, image.size());
    const auto blues = shrunkPlane(planes.u, planes.u_stride, full / 2, image.size());
    const auto reds = shrunkPlane(planes.v, planes.v_stride, full / 2, image.size());
    size_t i = 0;
    for (int y = 0; y < image.height(); ++y) {
        auto *const line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x, ++i) {
            const float light = (luma[i] / 256.F - 16) * 1.164384F;
            const float blue = blues[i] / 256.F - 128;
            const float red = reds[i] / 256.F - 128;
            const auto sample = [](float value) {
                return static_cast<int>(std::lround(std::clamp(value, 0.F, 255.F)));
            };
            line[x] =
                qRgb(sample(light + 1.596027F * red), sample(light - 0.391762F * blue - 0.812968F * red),
                     sample(light + 2.017232F * blue));
        }
    }
    return true;
}

/// Lets the library scale rows as they come. Where it codes with loss it would not smooth the edges of
/// blocks.
bool shrinkRows(const WebPData &data, WebPDecoderConfig &config, QImage &image)
{
    config.options.use_scaling = 1;
    config.options.scaled_width = image.width();
    config.options.scaled_height = image.height();
    config.output.colorspace = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? MODE_BGRA : MODE_ARGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {image.bits(), static_cast<int>(image.bytesPerLine()),
                            static_cast<size_t>(image.sizeInBytes())};
    if (WebPDecode(data.bytes, data.size, &config) != VP8_STATUS_OK)
        return false;
    // The library weighs colours by their alpha even where the file says that it has none.
    for (int y = 0; y < image.height(); ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        if (!std::all_of(line, line + image.width(), [](QRgb pixel) { return qAlpha(pixel) == 255; }))
            return false;
    }
    return true;
}

} // namespace

QImage shrunkWebp(QIODevice &file, QSize size)
{
    const Config config(new WebPDecoderConfig{});
    if (size.isEmpty() || file.size() > mostBytes || WebPInitDecoderConfig(config.get()) == 0)
        return {};
    WebPBitstreamFeatures &input = config->input;
    const auto isKnown = [&input](const WebPData &begin) {
        return WebPGetFeatures(begin.bytes, begin.size, &input) == VP8_STATUS_OK;
    };
    const QByteArray head = file.peek(headBytes);
    if (isKnown(dataOf(head)) && !isShrinkable(input, size))
        return {};
    const QByteArray bytes = file.readAll();
    const WebPData data = dataOf(bytes);
    QImage image;
    if (!isKnown(data) || !isShrinkable(input, size)
        || !QImageIOHandler::allocateImage(size, QImage::Format_RGB32, &image))
        return {};
    if (!(input.format == lossy ? shrinkPlanes : shrinkRows)(data, *config, image))
        return {};
    image.setColorSpace(colourSpaceOf(data));
    return image;
}
