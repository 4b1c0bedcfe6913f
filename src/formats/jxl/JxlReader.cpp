#include "formats/jxl/JxlReader.h"

#include "formats/jxl/JxlColour.h"

#include <QImageIOHandler>
#include <QIODevice>

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>

namespace {

constexpr int signatureBytes = 12;      // of the container; the bare codestream has 2
constexpr qint64 headBytes = 64 * 1024; // mostly enough for the size and the profile
constexpr uint32_t longestSide = std::numeric_limits<int>::max() / 8;

/// The pixels as the decoder gives them, so that they need no further copy.
struct Layout
{
    uint32_t channels;
    JxlDataType type;
    QImage::Format format;
};

Layout layoutOf(const JxlBasicInfo &info)
{
    const bool deep = info.bits_per_sample > 8 || info.exponent_bits_per_sample > 0;
    const JxlDataType type = deep ? JXL_TYPE_UINT16 : JXL_TYPE_UINT8;
    if (info.alpha_bits > 0)
        return {4, type, deep ? QImage::Format_RGBA64 : QImage::Format_RGBA8888};
    if (info.num_color_channels == 1)
        return {1, type, deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8};
    // The decoder makes a missing alpha opaque.
    return deep ? Layout{4, type, QImage::Format_RGBX64} : Layout{3, type, QImage::Format_RGB888};
}

/// One of the pictures that are being decoded now, which share the processors.
class ProcessorShare
{
public:
    ProcessorShare() { ++sharers; }
    ~ProcessorShare() { --sharers; }
    Q_DISABLE_COPY_MOVE(ProcessorShare)

    size_t threads(size_t wanted) const { return std::max<size_t>(wanted / sharers, 1); }

private:
    static inline std::atomic<size_t> sharers = 0;
};

} // namespace

JxlReader::JxlReader(QIODevice &source)
    : device(source)
{
}

bool JxlReader::canRead(QIODevice &device)
{
    const QByteArray start = device.peek(signatureBytes);
    const JxlSignature signature =
        JxlSignatureCheck(reinterpret_cast<const uint8_t *>(start.constData()), start.size());
    return signature == JXL_SIG_CODESTREAM || signature == JXL_SIG_CONTAINER;
}

/// The decoder's next event; asks for more bytes only at the end of all. It is not told of the end: it would
/// then give an error where it now gives what it has.
JxlDecoderStatus JxlReader::next()
{
    const JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
    if (status != JXL_DEC_NEED_MORE_INPUT || complete)
        return status;
    const auto unread = static_cast<qsizetype>(JxlDecoderReleaseInput(decoder.get()));
    data = data.right(unread) + device.readAll();
    complete = true;
    JxlDecoderSetInput(decoder.get(), reinterpret_cast<const uint8_t *>(data.constData()), data.size());
    return JxlDecoderProcessInput(decoder.get());
}

bool JxlReader::open()
{
    if (std::exchange(opened, true))
        return info.xsize > 0;
    data = device.read(headBytes);
    runner.reset(JxlResizableParallelRunnerCreate(nullptr));
    decoder.reset(JxlDecoderCreate(nullptr));
    if (!runner || !decoder
        || JxlDecoderSetParallelRunner(decoder.get(), JxlResizableParallelRunner, runner.get())
               != JXL_DEC_SUCCESS
        || JxlDecoderSubscribeEvents(decoder.get(),
                                     JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE)
               != JXL_DEC_SUCCESS)
        return false;
    JxlDecoderSetUnpremultiplyAlpha(decoder.get(), JXL_TRUE);
    JxlDecoderSetInput(decoder.get(), reinterpret_cast<const uint8_t *>(data.constData()), data.size());
    JxlBasicInfo found{};
    if (next() == JXL_DEC_BASIC_INFO && JxlDecoderGetBasicInfo(decoder.get(), &found) == JXL_DEC_SUCCESS
        && found.xsize <= longestSide && found.ysize <= longestSide)
        info = found;
    return info.xsize > 0;
}

QSize JxlReader::size()
{
    return open() ? QSize(static_cast<int>(info.xsize), static_cast<int>(info.ysize)) : QSize();
}

QImage JxlReader::read()
{
    if (!open())
        return {};
    const Layout layout = layoutOf(info);
    QImage image;
    if (!QImageIOHandler::allocateImage(size(), layout.format, &image))
        return {};
    image.fill(0); // for what a truncated file leaves out
    // The lines of a QImage begin at multiples of four bytes.
    const JxlPixelFormat format{layout.channels, layout.type, JXL_NATIVE_ENDIAN, 4};
    const ProcessorShare share;
    JxlResizableParallelRunnerSetThreads(
        runner.get(), share.threads(JxlResizableParallelRunnerSuggestThreads(info.xsize, info.ysize)));
    QColorSpace colourSpace;
    bool hasBuffer = false;
    for (;;) {
        switch (next()) {
        case JXL_DEC_COLOR_ENCODING:
            colourSpace = Jxl::chooseColourSpace(*decoder, info);
            break;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER: {
            size_t bytes = 0;
            if (hasBuffer || JxlDecoderImageOutBufferSize(decoder.get(), &format, &bytes) != JXL_DEC_SUCCESS
                || bytes > static_cast<size_t>(image.sizeInBytes())
                || JxlDecoderSetImageOutBuffer(decoder.get(), &format, image.bits(), bytes)
                       != JXL_DEC_SUCCESS)
                return {};
            hasBuffer = true;
            break;
        }
        case JXL_DEC_NEED_MORE_INPUT:
            if (!hasBuffer || JxlDecoderFlushImage(decoder.get()) != JXL_DEC_SUCCESS)
                return {};
            [[fallthrough]];
        case JXL_DEC_FULL_IMAGE:
            decoder.reset(); // it keeps writing into the picture as long as it lives
            image.setColorSpace(colourSpace);
            return image;
        default:
            return {};
        }
    }
}
