#include "formats/jxl/JxlReader.h"

#include "formats/jxl/JxlColour.h"
#include "formats/jxl/JxlShrunk.h"
#include "formats/jxl/ProcessorShare.h"
#include "shared/image/ColourConversion.h"

#include <QImageIOHandler>
#include <QIODevice>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace {

constexpr int signatureBytes = 12;      // of the container; the bare codestream has 2
constexpr qint64 headBytes = 64 * 1024; // mostly enough for the size and the profile
constexpr qint64 pieceBytes = 64 << 20; // of what is read then; nearly every file is one piece
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

/// False for more channels beside the colours than pictures have, if the decoder would need long for them.
bool isInProportion(const JxlBasicInfo &info)
{
    constexpr quint64 usualChannels = 5;
    constexpr quint64 spare = 16'000'000;
    const quint64 more =
        info.num_extra_channels > usualChannels ? info.num_extra_channels - usualChannels : 0;
    return more * info.xsize * info.ysize <= spare;
}

/// False if the first picture is put together from many frames, each of which costs as much as a picture.
bool hasFewFrames(QIODevice &device)
{
    constexpr int mostFrames = 8;
    const qint64 position = device.pos();
    if (!device.seek(0))
        return true;
    const QByteArray data = device.read(pieceBytes);
    device.seek(position);
    const std::unique_ptr<JxlDecoder, decltype(&JxlDecoderDestroy)> decoder(JxlDecoderCreate(nullptr),
                                                                            JxlDecoderDestroy);
    if (!decoder || JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_FRAME) != JXL_DEC_SUCCESS
        || JxlDecoderSetCoalescing(decoder.get(), JXL_FALSE) != JXL_DEC_SUCCESS)
        return true;
    JxlDecoderSetInput(decoder.get(), reinterpret_cast<const uint8_t *>(data.constData()), data.size());
    for (int frame = 1; JxlDecoderProcessInput(decoder.get()) == JXL_DEC_FRAME; ++frame) {
        JxlFrameHeader header{};
        if (JxlDecoderGetFrameHeader(decoder.get(), &header) != JXL_DEC_SUCCESS || header.is_last
            || header.duration > 0)
            return true;
        if (frame > mostFrames)
            return false;
    }
    return true;
}

/// The black of a CMYK picture: a channel beside the colours, which are the other three inks. Lossy files
/// have colours that are mixed already.
class BlackInk
{
public:
    BlackInk(const JxlDecoder &decoder, const JxlBasicInfo &info)
    {
        const bool hasInks = info.uses_original_profile && info.num_color_channels == 3;
        for (uint32_t i = 0; hasInks && i < info.num_extra_channels; ++i) {
            JxlExtraChannelInfo channel{};
            if (JxlDecoderGetExtraChannelInfo(&decoder, i, &channel) == JXL_DEC_SUCCESS
                && channel.type == JXL_CHANNEL_BLACK)
                index = i;
        }
    }

    bool isThere() const { return index.has_value(); }

    /// Tells the decoder to put it into a plane of this object. False if it will not, or for want of memory.
    bool receive(JxlDecoder &decoder, const JxlPixelFormat &format, QSize size)
    {
        const bool deep = format.data_type == JXL_TYPE_UINT16;
        if (!QImageIOHandler::allocateImage(
                size, deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8, &plane))
            return false;
        plane.fill(Qt::white); // no ink where a truncated file ends
        return JxlDecoderSetExtraChannelBuffer(&decoder, &format, plane.bits(),
                                               static_cast<size_t>(plane.sizeInBytes()), *index)
               == JXL_DEC_SUCCESS;
    }

    /// The picture printed with it as well.
    QImage printedOn(const QImage &inked, const QByteArray &profile) const
    {
        return Colour::fromInks(inked, plane, profile);
    }

private:
    std::optional<uint32_t> index;
    QImage plane;
};

} // namespace

JxlReader::JxlReader(QIODevice &source)
    : device(source)
{
}

QByteArray JxlReader::format(QIODevice &device)
{
    const QByteArray start = device.peek(signatureBytes);
    const JxlSignature signature =
        JxlSignatureCheck(reinterpret_cast<const uint8_t *>(start.constData()), start.size());
    return signature == JXL_SIG_CODESTREAM || signature == JXL_SIG_CONTAINER ? "jxl" : QByteArray();
}

/// The decoder's next event; asks for more bytes only at the end of all. It is not told of the end: it would
/// then give an error where it now gives what it has.
JxlDecoderStatus JxlReader::next()
{
    for (;;) {
        const JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
        const qint64 mostBytes = 4 * pieceBytes + 16LL * info.xsize * info.ysize;
        if (status != JXL_DEC_NEED_MORE_INPUT || device.atEnd() || device.pos() > mostBytes)
            return status;
        const auto unread = static_cast<qsizetype>(JxlDecoderReleaseInput(decoder.get()));
        data = data.right(unread) + device.read(pieceBytes);
        JxlDecoderSetInput(decoder.get(), reinterpret_cast<const uint8_t *>(data.constData()), data.size());
    }
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
        && found.xsize <= longestSide && found.ysize <= longestSide && isInProportion(found))
        info = found;
    return info.xsize > 0;
}

QSize JxlReader::size()
{
    return open() ? QSize(static_cast<int>(info.xsize), static_cast<int>(info.ysize)) : QSize();
}

QImage::Format JxlReader::imageFormat()
{
    return open() ? layoutOf(info).format : QImage::Format_Invalid;
}

QImage JxlReader::read(QSize scaled)
{
    if (scaled.isEmpty() || !open())
        return readFull();
    const QImage shrunk = Jxl::readShrunk(device, scaled);
    if (!shrunk.isNull())
        return shrunk.convertToFormat(layoutOf(info).format);
    return readFull().scaled(scaled, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

QImage JxlReader::readFull()
{
    if (!open())
        return {};
    const Layout layout = layoutOf(info);
    QImage image;
    if (!hasFewFrames(device) || !QImageIOHandler::allocateImage(size(), layout.format, &image))
        return {};
    image.fill(0); // for what a truncated file leaves out
    // The lines of a QImage begin at multiples of four bytes.
    const JxlPixelFormat format{layout.channels, layout.type, JXL_NATIVE_ENDIAN, 4};
    const Jxl::ProcessorShare share;
    JxlResizableParallelRunnerSetThreads(
        runner.get(), share.threads(JxlResizableParallelRunnerSuggestThreads(info.xsize, info.ysize)));
    QColorSpace colourSpace;
    BlackInk black(*decoder, info);
    bool hasBuffer = false;
    for (;;) {
        switch (next()) {
        case JXL_DEC_COLOR_ENCODING:
            colourSpace = Jxl::chooseColourSpace(*decoder, info);
            break;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
            if (hasBuffer
                || JxlDecoderSetImageOutBuffer(decoder.get(), &format, image.bits(),
                                               static_cast<size_t>(image.sizeInBytes()))
                       != JXL_DEC_SUCCESS
                || (black.isThere() && !black.receive(*decoder, format, size())))
                return {};
            hasBuffer = true;
            break;
        case JXL_DEC_NEED_MORE_INPUT:
            if (!hasBuffer || JxlDecoderFlushImage(decoder.get()) != JXL_DEC_SUCCESS)
                return {};
            [[fallthrough]];
        case JXL_DEC_FULL_IMAGE:
            decoder.reset(); // it keeps writing into the picture as long as it lives
            if (black.isThere())
                return black.printedOn(image, colourSpace.iccProfile()).convertToFormat(layout.format);
            image.setColorSpace(colourSpace);
            return image;
        default:
            return {};
        }
    }
}
