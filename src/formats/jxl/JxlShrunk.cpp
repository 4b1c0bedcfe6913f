#include "formats/jxl/JxlShrunk.h"

#include "formats/jxl/JxlColour.h"
#include "formats/jxl/ProcessorShare.h"

#include <QImageIOHandler>
#include <QIODevice>

#include <jxl/decode.h>
#include <jxl/resizable_parallel_runner.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace {

constexpr qint64 mostBytes = 64 << 20; ///< of the file that are read; the means stand before all else
constexpr int side = 8;                ///< of a block, pixels

/// The first bits of a frame's header, which the decoder keeps to itself.
class Bits
{
public:
    explicit Bits(const QByteArray &bytes)
    {
        for (qsizetype i = 0; i < std::min<qsizetype>(bytes.size(), sizeof left); ++i)
            left |= static_cast<quint64>(static_cast<uchar>(bytes[i])) << (8 * i);
    }

    quint64 next(int count)
    {
        const quint64 bits = left & ((1ULL << count) - 1);
        left >>= count;
        return bits;
    }

private:
    quint64 left = 0;
};

/// True if a picture's first frame, which begins with these bytes, keeps the means of blocks of 8 by 8
/// pixels.
bool hasMeans(const QByteArray &start, bool usesOriginalProfile)
{
    Bits bits(start);
    if (bits.next(1) == 1) // all as usual
        return true;
    const quint64 type = bits.next(2);
    const quint64 isModular = bits.next(1);
    constexpr std::array flagBits{0, 4, 8};
    const quint64 flags = bits.next(2);
    if (type != 0 || isModular == 1 || flags >= flagBits.size())
        return false;
    bits.next(flagBits[flags]);
    if (usesOriginalProfile && bits.next(1) == 1)
        bits.next(3 * 2);     // how much smaller each of its colours is
    return bits.next(2) == 0; // not coded at a part of its size
}

/// True if the frame that the decoder has come to is the whole picture.
bool isWholePicture(const JxlDecoder &decoder)
{
    JxlFrameHeader header{};
    return JxlDecoderGetFrameHeader(&decoder, &header) == JXL_DEC_SUCCESS
           && (header.is_last || header.duration > 0) && !header.layer_info.have_crop
           && header.layer_info.blend_info.blendmode == JXL_BLEND_REPLACE;
}

/// Takes the rows of a picture, in pieces and from several threads, and makes a smaller one of them: a pixel
/// is the mean of those that lie in its place.
class Shrinking
{
public:
    Shrinking(const JxlBasicInfo &info, QSize to)
        : from{info.xsize, info.ysize}
        , to{static_cast<size_t>(to.width()), static_cast<size_t>(to.height())}
        , channels(info.num_color_channels)
        , sums(this->to.width * this->to.height * channels)
    {
    }

    /// As the decoder calls it: `shrinking` is one of these, `pixels` are floats of which 1 is the most.
    static void take(void *shrinking, size_t x, size_t y, size_t count, const void *pixels)
    {
        auto *const self = static_cast<Shrinking *>(shrinking);
        const auto *const samples = static_cast<const float *>(pixels);
        self->channels == 1 ? self->add<1>(x, y, count, samples) : self->add<3>(x, y, count, samples);
    }

    /// Grey or in colours, of 16 bits each. Null for want of memory.
    QImage image() const
    {
        const bool grey = channels == 1;
        QImage image;
        if (!QImageIOHandler::allocateImage(QSize(static_cast<int>(to.width), static_cast<int>(to.height)),
                                            grey ? QImage::Format_Grayscale16 : QImage::Format_RGBX64,
                                            &image))
            return {};
        const float *sum = sums.data();
        for (size_t y = 0; y < to.height; ++y) {
            const size_t rows = first(y + 1, from.height, to.height) - first(y, from.height, to.height);
            auto *pixel = reinterpret_cast<quint16 *>(image.scanLine(static_cast<int>(y)));
            for (size_t x = 0; x < to.width; ++x, sum += channels, pixel += grey ? 1 : 4) {
                const size_t columns = first(x + 1, from.width, to.width) - first(x, from.width, to.width);
                const auto count = static_cast<float>(columns * rows);
                std::transform(sum, sum + channels, pixel, [count](float sum) {
                    return static_cast<quint16>(std::clamp(sum / count, 0.F, 1.F) * 65535.F + 0.5F);
                });
                if (!grey)
                    pixel[3] = 0xffff;
            }
        }
        return image;
    }

private:
    struct Size
    {
        size_t width;
        size_t height;
    };

    /// The first of `many` that lies in a place, of which there are `few`.
    static size_t first(size_t place, size_t many, size_t few) { return (place * many + few - 1) / few; }

    template <size_t Channels>
    void add(size_t x, size_t y, size_t count, const float *pixels)
    {
        const std::lock_guard lock(mutex); // two threads may come to one place
        size_t place = x * to.width / from.width;
        float *total = &sums[(y * to.height / from.height * to.width + place) * Channels];
        for (const size_t end = x + count; x < end; total += Channels) {
            const size_t next = std::min(first(++place, from.width, to.width), end);
            std::array<float, Channels> sum{};
            for (; x < next; ++x, pixels += Channels) {
                for (size_t i = 0; i < Channels; ++i)
                    sum[i] += pixels[i];
            }
            std::transform(sum.begin(), sum.end(), total, total, std::plus());
        }
    }

    const Size from;
    const Size to;
    const size_t channels;
    std::vector<float> sums; ///< of each place, a channel beside the other
    std::mutex mutex;
};

} // namespace

QImage Jxl::readShrunk(QIODevice &device, QSize size)
{
    const qint64 position = device.pos();
    if (size.isEmpty() || device.isSequential() || !device.seek(0))
        return {};
    const QByteArray file = device.read(mostBytes);
    device.seek(position);

    const std::unique_ptr<void, decltype(&JxlResizableParallelRunnerDestroy)> runner(
        JxlResizableParallelRunnerCreate(nullptr), JxlResizableParallelRunnerDestroy);
    std::unique_ptr<Shrinking> shrinking; // which the decoder calls while it lives
    const std::unique_ptr<JxlDecoder, decltype(&JxlDecoderDestroy)> owner(JxlDecoderCreate(nullptr),
                                                                          JxlDecoderDestroy);
    JxlDecoder *const decoder = owner.get();
    if (!runner || !decoder
        || JxlDecoderSetParallelRunner(decoder, JxlResizableParallelRunner, runner.get()) != JXL_DEC_SUCCESS
        || JxlDecoderSubscribeEvents(decoder, JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FRAME
                                                  | JXL_DEC_FRAME_PROGRESSION | JXL_DEC_FULL_IMAGE)
               != JXL_DEC_SUCCESS
        || JxlDecoderSetProgressiveDetail(decoder, kDC) != JXL_DEC_SUCCESS
        || JxlDecoderSetCoalescing(decoder, JXL_FALSE) != JXL_DEC_SUCCESS)
        return {};
    const auto setInput = [&](qsizetype from) {
        JxlDecoderSetInput(decoder, reinterpret_cast<const uint8_t *>(file.constData()) + from,
                           static_cast<size_t>(file.size() - from));
    };
    setInput(0);
    const ProcessorShare share;
    JxlBasicInfo info{};
    QColorSpace colourSpace;
    for (;;) {
        switch (JxlDecoderProcessInput(decoder)) {
        case JXL_DEC_BASIC_INFO:
            if (JxlDecoderGetBasicInfo(decoder, &info) != JXL_DEC_SUCCESS || info.num_extra_channels > 0
                || info.have_preview || info.xsize / side < static_cast<uint32_t>(size.width())
                || info.ysize / side < static_cast<uint32_t>(size.height()))
                return {};
            JxlResizableParallelRunnerSetThreads(
                runner.get(),
                share.threads(JxlResizableParallelRunnerSuggestThreads(info.xsize, info.ysize)));
            break;
        case JXL_DEC_COLOR_ENCODING: {
            colourSpace = chooseColourSpace(*decoder, info);
            const auto frame = file.size() - static_cast<qsizetype>(JxlDecoderReleaseInput(decoder));
            if (!hasMeans(file.sliced(frame), info.uses_original_profile))
                return {};
            setInput(frame);
            break;
        }
        case JXL_DEC_FRAME:
            if (!isWholePicture(*decoder))
                return {};
            break;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER: {
            // Floating point is what it works with.
            const JxlPixelFormat format{info.num_color_channels, JXL_TYPE_FLOAT, JXL_NATIVE_ENDIAN, 0};
            shrinking = std::make_unique<Shrinking>(info, size);
            if (JxlDecoderSetImageOutCallback(decoder, &format, Shrinking::take, shrinking.get())
                != JXL_DEC_SUCCESS)
                return {};
            break;
        }
        case JXL_DEC_FRAME_PROGRESSION: {
            if (!shrinking || JxlDecoderFlushImage(decoder) != JXL_DEC_SUCCESS)
                return {};
            QImage image = shrinking->image();
            image.setColorSpace(colourSpace);
            return image;
        }
        default:
            return {};
        }
    }
}
