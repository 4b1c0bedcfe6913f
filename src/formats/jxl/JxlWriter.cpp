#include "formats/jxl/JxlWriter.h"

#include "formats/FittingProfile.h"
#include "formats/jxl/JxlColour.h"
#include "formats/jxl/ProcessorShare.h"
#include "shared/image/ColourConversion.h"

#include <QByteArray>
#include <QIODevice>
#include <QtDebug>

#include <jxl/encode.h>
#include <jxl/resizable_parallel_runner.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <memory>

namespace {

constexpr float defaultDistance = 1; // the encoder's own: no loss seen from an arm's length
constexpr int effort = 3;            // seconds for 21 megapixels; 4 takes eight times as long without loss
constexpr size_t outputBytes = 256 * 1024;

struct Pixels
{
    QImage image;
    uint32_t channels;
    bool deep;
};

/// The lines of four samples a pixel made ones of three, each where it was: the encoder takes no alpha that
/// the file does not have.
void dropFourth(QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *const line = reinterpret_cast<quint16 *>(image.scanLine(y));
        for (int x = 1; x < image.width(); ++x)
            std::copy_n(line + 4 * x, 3, line + 3 * x);
    }
}

QColorSpace spaceOf(const QImage &image)
{
    return image.colorSpace().iccProfile().isEmpty() ? QColorSpace(QColorSpace::SRgb) : image.colorSpace();
}

bool isGrey(const QImage &image)
{
    return image.format() == QImage::Format_Grayscale8 || image.format() == QImage::Format_Grayscale16;
}

Pixels pixelsOf(const QImage &image)
{
    const QPixelFormat format = image.pixelFormat();
    const bool deep = image.format() == QImage::Format_Grayscale16
                      || std::max({format.redSize(), format.greenSize(), format.blueSize()}) > 8;
    const bool alpha = image.hasAlphaChannel();
    if (isGrey(image))
        return {image, 1, deep};
    if (!deep && alpha)
        return {image.convertToFormat(QImage::Format_RGBA8888), 4, false};
    if (!deep)
        return {image.convertToFormat(QImage::Format_RGB888), 3, false};
    QImage samples = image.convertToFormat(QImage::Format_RGBA64);
    if (!alpha)
        dropFourth(samples);
    return {samples, alpha ? 4U : 3U, true};
}

/// The picture with a profile that the encoder takes: asked for another it prints to the program's output.
QImage withProfile(const QImage &image)
{
    const bool grey = isGrey(image);
    return Jxl::encodingOf(spaceOf(image), grey) ? image : withFittingProfile(image, grey);
}

[[nodiscard]] bool setColours(JxlEncoder &encoder, const QImage &image)
{
    const QColorSpace space = spaceOf(image);
    if (const auto encoding = Jxl::encodingOf(space, isGrey(image)))
        return JxlEncoderSetColorEncoding(&encoder, &*encoding) == JXL_ENC_SUCCESS;
    const QByteArray profile = space.iccProfile();
    return JxlEncoderSetICCProfile(&encoder, reinterpret_cast<const uint8_t *>(profile.constData()),
                                   profile.size())
           == JXL_ENC_SUCCESS;
}

/// A picture without them is better than none.
void addMetadata(JxlEncoder &encoder, const MetadataBlocks &metadata)
{
    const auto add = [&encoder](const char *type, const QByteArray &contents) {
        if (JxlEncoderAddBox(&encoder, type, reinterpret_cast<const uint8_t *>(contents.constData()),
                             contents.size(), JXL_FALSE)
            != JXL_ENC_SUCCESS)
            qDebug() << "Metadata left out" << type;
    };
    if (!metadata.exif.isEmpty())
        add("Exif", QByteArray(4, 0) + metadata.exif); // behind the way to the TIFF header
    if (!metadata.xmp.isEmpty())
        add("xml ", metadata.xmp);
}

[[nodiscard]] bool writeOutput(JxlEncoder &encoder, QIODevice &device)
{
    std::array<uint8_t, outputBytes> buffer{};
    JxlEncoderStatus status = JXL_ENC_NEED_MORE_OUTPUT;
    while (status == JXL_ENC_NEED_MORE_OUTPUT) {
        uint8_t *end = buffer.data();
        size_t room = buffer.size();
        status = JxlEncoderProcessOutput(&encoder, &end, &room);
        const auto length = static_cast<qint64>(end - buffer.data());
        if (device.write(reinterpret_cast<const char *>(buffer.data()), length) != length)
            return false;
    }
    return status == JXL_ENC_SUCCESS;
}

/// Does the encoder's work on several threads. One that ran out of memory would end the program: the rest is
/// passed over then, and the encoder told.
JxlParallelRetCode runTolerantly(void *threads, void *encoder, JxlParallelRunInit init,
                                 JxlParallelRunFunction function, uint32_t start, uint32_t end)
{
    struct Work
    {
        void *encoder;
        JxlParallelRunInit init;
        JxlParallelRunFunction function;
        std::atomic_bool failed = false;
    };
    Work work{encoder, init, function};
    const auto begin = [](void *opaque, size_t count) {
        const auto *const work = static_cast<Work *>(opaque);
        return work->init(work->encoder, count);
    };
    const auto step = [](void *opaque, uint32_t value, size_t thread) {
        auto *const work = static_cast<Work *>(opaque);
        if (work->failed)
            return;
        try {
            work->function(work->encoder, value, thread);
        } catch (const std::exception &) {
            work->failed = true;
        }
    };
    const JxlParallelRetCode result = JxlResizableParallelRunner(threads, &work, begin, step, start, end);
    return work.failed ? JXL_PARALLEL_RET_RUNNER_ERROR : result;
}

} // namespace

float JxlWriter::distanceOf(int quality)
{
    const auto q = static_cast<float>(quality);
    return quality >= 30 ? 0.1F + (100 - q) * 0.09F : 53 / 3000.F * q * q - 23 / 20.F * q + 25;
}

bool JxlWriter::write(const QImage &source, QIODevice &device, int quality, const MetadataBlocks &metadata)
{
    if (source.isNull())
        return false;
    const QImage image = withProfile(source);
    Pixels pixels = pixelsOf(image);
    const bool alpha = image.hasAlphaChannel();
    const bool lossless = quality >= 100;

    const std::unique_ptr<void, decltype(&JxlResizableParallelRunnerDestroy)> runner(
        JxlResizableParallelRunnerCreate(nullptr), JxlResizableParallelRunnerDestroy);
    const std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)> owner(JxlEncoderCreate(nullptr),
                                                                          JxlEncoderDestroy);
    JxlEncoder *const encoder = owner.get();
    if (pixels.image.isNull() || !runner || !encoder)
        return false;
    const Jxl::ProcessorShare share;
    JxlResizableParallelRunnerSetThreads(
        runner.get(), share.threads(JxlResizableParallelRunnerSuggestThreads(image.width(), image.height())));
    JxlEncoderSetParallelRunner(encoder, runTolerantly, runner.get());

    if (!metadata.exif.isEmpty() || !metadata.xmp.isEmpty())
        JxlEncoderUseBoxes(encoder);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = image.width();
    info.ysize = image.height();
    info.bits_per_sample = pixels.deep ? 16 : 8;
    info.num_color_channels = pixels.channels == 1 ? 1 : 3;
    info.num_extra_channels = alpha ? 1 : 0;
    info.alpha_bits = alpha ? info.bits_per_sample : 0;
    info.uses_original_profile = lossless ? JXL_TRUE : JXL_FALSE;
    if (JxlEncoderSetBasicInfo(encoder, &info) != JXL_ENC_SUCCESS)
        return false;
    if (!setColours(*encoder, image)) {
        const QColorSpace srgb(QColorSpace::SRgb);
        return spaceOf(image) != srgb && write(Colour::inSrgb(image), device, quality, metadata);
    }

    JxlEncoderFrameSettings *const settings = JxlEncoderFrameSettingsCreate(encoder, nullptr);
    JxlEncoderFrameSettingsSetOption(settings, JXL_ENC_FRAME_SETTING_EFFORT, effort);
    if (lossless)
        JxlEncoderSetFrameLossless(settings, JXL_TRUE);
    else
        JxlEncoderSetFrameDistance(settings, quality < 0 ? defaultDistance : distanceOf(quality));
    const JxlPixelFormat format{pixels.channels, pixels.deep ? JXL_TYPE_UINT16 : JXL_TYPE_UINT8,
                                JXL_NATIVE_ENDIAN, static_cast<size_t>(pixels.image.bytesPerLine())};
    try {
        if (JxlEncoderAddImageFrame(settings, &format, pixels.image.constBits(), pixels.image.sizeInBytes())
            != JXL_ENC_SUCCESS)
            return false;
        pixels.image = {}; // the encoder has its own by now
        addMetadata(*encoder, metadata);
        JxlEncoderCloseInput(encoder);
        return writeOutput(*encoder, device);
    } catch (const std::exception &error) { // too little memory
        qDebug() << "Cannot encode JPEG XL:" << error.what();
        return false;
    }
}
