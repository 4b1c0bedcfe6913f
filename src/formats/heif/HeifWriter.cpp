#include "formats/heif/HeifWriter.h"

#include "formats/FittingProfile.h"
#include "formats/heif/HeifColour.h"
#include "shared/image/ColourCodePoints.h"
#include "shared/image/ColourConversion.h"

#include <QByteArray>
#include <QIODevice>
#include <QSysInfo>
#include <QtDebug>

#include <algorithm>
#include <exception>

namespace {

/// Bits a channel for pictures of more than 8. 10 is what most readers take; but told of them for AV1,
/// libheif 1.15 chooses the coding profile for 12, and the encoder aborts the program.
int deepBits(HeifWriter::Coding coding)
{
    return coding == HeifWriter::Coding::Av1 ? 12 : 10;
}

/// The picture in the library's memory, with 8 or more bits a channel.
Heif::Image toHeif(const QImage &source, int bits)
{
    const bool alpha = source.hasAlphaChannel();
    const bool deep = bits > 8;
    const int channels = alpha ? 4 : 3;
    const bool little = QSysInfo::ByteOrder == QSysInfo::LittleEndian;
    const heif_chroma deepChroma =
        alpha ? (little ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBBAA_BE)
              : (little ? heif_chroma_interleaved_RRGGBB_LE : heif_chroma_interleaved_RRGGBB_BE);
    const heif_chroma chroma = deep    ? deepChroma
                               : alpha ? heif_chroma_interleaved_RGBA
                                       : heif_chroma_interleaved_RGB;
    const QImage pixels = source.convertToFormat(deep    ? QImage::Format_RGBA64
                                                 : alpha ? QImage::Format_RGBA8888
                                                         : QImage::Format_RGB888);
    heif_image *created = nullptr;
    if (pixels.isNull()
        || !Heif::isOk(
            heif_image_create(pixels.width(), pixels.height(), heif_colorspace_RGB, chroma, &created)))
        return {};
    Heif::Image image(created);
    int stride = 0;
    if (!Heif::isOk(
            heif_image_add_plane(created, heif_channel_interleaved, pixels.width(), pixels.height(), bits)))
        return {};
    uint8_t *const plane = heif_image_get_plane(created, heif_channel_interleaved, &stride);
    if (!plane)
        return {};
    for (int y = 0; y < pixels.height(); ++y) {
        uint8_t *const target = plane + static_cast<qsizetype>(y) * stride;
        if (!deep) {
            std::copy_n(pixels.constScanLine(y), static_cast<qsizetype>(pixels.width()) * channels, target);
            continue;
        }
        const auto *from = reinterpret_cast<const quint16 *>(pixels.constScanLine(y));
        auto *to = reinterpret_cast<quint16 *>(target);
        for (int x = 0; x < pixels.width(); ++x, from += 4, to += channels)
            std::transform(from, from + channels, to, [bits](quint16 sample) {
                return static_cast<quint16>((sample * ((1U << bits) - 1) + 32767) / 65535);
            });
    }
    Heif::setColourSpace(*created, source.colorSpace());
    return image;
}

/// Seconds where libheif's own choice takes ten times as long: a picture of 3 megapixels took x265 4 s rather
/// than 28 s for a file 4% larger, and aom 0.7 s rather than 4.4 s.
void chooseSpeed(heif_encoder &encoder)
{
    const QByteArray name = heif_encoder_get_name(&encoder);
    if (name.startsWith("x265"))
        heif_encoder_set_parameter_string(&encoder, "preset", "medium");
    else if (name.startsWith("AOM"))
        heif_encoder_set_parameter_integer(&encoder, "speed", 7);
}

[[nodiscard]] bool encode(heif_context &context, const QImage &source, HeifWriter::Coding coding, int quality,
                          int bits, const MetadataBlocks &metadata)
{
    heif_encoder *found = nullptr;
    const heif_compression_format format =
        coding == HeifWriter::Coding::Av1 ? heif_compression_AV1 : heif_compression_HEVC;
    const Heif::Image image = toHeif(source, bits);
    if (!image || !Heif::isOk(heif_context_get_encoder_for_format(&context, format, &found)))
        return false;
    const Heif::Encoder encoder(found);
    chooseSpeed(*found);
    if (quality >= 0)
        heif_encoder_set_lossy_quality(found, std::min(quality, 100));
    const Heif::EncodingOptions options(heif_encoding_options_alloc());
    options->macOS_compatibility_workaround_no_nclx_profile = 0; // or an sRGB picture would not say so
    heif_image_handle *handle = nullptr;
    if (!Heif::isOk(heif_context_encode_image(&context, image.get(), found, options.get(), &handle)))
        return false;
    const Heif::Handle picture(handle);
    // A picture without them is better than none.
    const auto add = [&](const auto &function, const QByteArray &block) {
        if (!block.isEmpty() && !Heif::isOk(function(&context, handle, block.constData(), int(block.size()))))
            qDebug() << "Metadata left out";
    };
    add(heif_context_add_exif_metadata, metadata.exif);
    add(heif_context_add_XMP_metadata, metadata.xmp);
    return true;
}

heif_error writeToDevice(heif_context *, const void *data, size_t size, void *device)
{
    const auto length = static_cast<qint64>(size);
    if (static_cast<QIODevice *>(device)->write(static_cast<const char *>(data), length) == length)
        return {heif_error_Ok, heif_suberror_Unspecified, ""};
    return {heif_error_Encoding_error, heif_suberror_Cannot_write_output_data, "device"};
}

} // namespace

bool HeifWriter::write(const QImage &source, QIODevice &device, Coding coding, int quality,
                       const MetadataBlocks &metadata)
{
    if (source.isNull())
        return false;
    try {
        Heif::initialise();
        const QImage image = withFittingProfile(source, false); // greys too are written as colours
        const QPixelFormat format = image.pixelFormat();
        const bool deep = std::max({format.redSize(), format.greenSize(), format.blueSize()}) > 8
                          || image.format() == QImage::Format_Grayscale16;
        Heif::Context context(heif_context_alloc());
        bool encoded = deep && encode(*context, image, coding, quality, deepBits(coding), metadata);
        if (!encoded) {
            context.reset(heif_context_alloc());
            const bool needsMore = Colour::highDynamicRange(image.colorSpace().iccProfile()).has_value();
            encoded =
                encode(*context, needsMore ? Colour::inSrgb(image) : image, coding, quality, 8, metadata);
        }
        heif_writer writer{};
        writer.writer_api_version = 1;
        writer.write = writeToDevice;
        return encoded && Heif::isOk(heif_context_write(context.get(), &writer, &device));
    } catch (const std::exception &) {
        return false;
    }
}
