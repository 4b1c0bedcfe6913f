#include "formats/heif/HeifShrunk.h"

#include "formats/heif/HeifSamples.h"
#include "shared/image/BoxMeans.h"

#include <QImageIOHandler>

#include <array>
#include <vector>

namespace {

constexpr std::array channels{heif_channel_R, heif_channel_G, heif_channel_B};

/// Fills one channel of the pixels of `image`, of four samples each, with the means of a plane's.
template <typename Sample>
void shrink(const uchar *plane, int stride, QSize full, int bits, QImage &image, size_t channel)
{
    BoxMeans<Sample> means(full, image.size(), 1);
    std::vector<Sample> samples(static_cast<size_t>(full.width()));
    int y = 0;
    for (int row = 0; row < full.height(); ++row, plane += stride) {
        const auto *from = reinterpret_cast<const Sample *>(plane);
        if constexpr (sizeof(Sample) > 1) {
            std::transform(from, from + full.width(), samples.begin(),
                           [bits](quint16 sample) { return Heif::widened(sample, bits); });
            from = samples.data();
        }
        means.take(from, [&](const Sample *mean) {
            auto *const to = reinterpret_cast<Sample *>(image.scanLine(y++)) + channel;
            for (int x = 0; x < image.width(); ++x)
                to[4 * x] = mean[x];
        });
    }
}

} // namespace

std::optional<QImage> Heif::readShrunk(const heif_image_handle &handle, QSize size)
{
    const QSize full(heif_image_handle_get_width(&handle), heif_image_handle_get_height(&handle));
    if (size.isEmpty() || size.boundedTo(full) != size || heif_image_handle_has_alpha_channel(&handle))
        return std::nullopt;
    // The library makes planes of all colours first, whatever is asked for: one beside the other would be a
    // second picture.
    heif_image *decoded = nullptr;
    const bool ok = isOk(heif_decode_image(&handle, &decoded, heif_colorspace_RGB, heif_chroma_444, nullptr));
    const Image owner(decoded);
    if (!ok || !decoded)
        return QImage();
    const auto sizeOf = [decoded](heif_channel channel) {
        return QSize(heif_image_get_width(decoded, channel), heif_image_get_height(decoded, channel));
    };
    const QSize real = sizeOf(channels[0]);
    const int bits = heif_image_get_bits_per_pixel_range(decoded, heif_channel_R);
    const bool isDeep = heif_image_handle_get_luma_bits_per_pixel(&handle) > 8;
    if (heif_image_get_chroma_format(decoded) != heif_chroma_444
        || (isDeep ? bits < 9 || bits > 16 : bits != 8))
        return std::nullopt;
    QImage image;
    if (!QImageIOHandler::allocateImage(real == full ? size : real,
                                        isDeep ? QImage::Format_RGBX64 : QImage::Format_RGBX8888, &image))
        return QImage();
    image.fill(Qt::black); // and opaque
    for (size_t i = 0; i < channels.size(); ++i) {
        int stride = 0;
        const uchar *const plane = heif_image_get_plane_readonly(decoded, channels[i], &stride);
        if (!plane || heif_image_get_bits_per_pixel_range(decoded, channels[i]) != bits
            || sizeOf(channels[i]) != real)
            return QImage();
        isDeep ? shrink<quint16>(plane, stride, real, bits, image, i)
               : shrink<uchar>(plane, stride, real, bits, image, i);
    }
    return image;
}
