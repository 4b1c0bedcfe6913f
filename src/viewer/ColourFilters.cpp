#include "viewer/ColourFilters.h"

#include "shared/image/ImageMetadata.h"
#include "shared/image/ParallelRows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

// The numbers of the filters, as callers of `apply` pass them.
enum FilterType
{
    Brightness,
    Contrast,
    Gamma,
    Sepia,
    InvertColours
};

constexpr int pixelsTogether = 1 << 16;

using Table = std::array<uchar, 256>;

float clampedToByte(float value)
{
    return std::clamp(value, 0.0f, 255.0f);
}

/// Toward zero, low eight bits; what an int cannot hold gives 0.
uchar lowByte(float value)
{
    constexpr float tooLarge = 2147483648.0f;
    return value > -tooLarge && value < tooLarge ? static_cast<uchar>(static_cast<int>(value)) : 0;
}

/// One filter whose channels depend on their own value, with its closing step. That step limits red, then
/// green, then blue, but green only from below where red had to be limited, and blue not at all where green
/// was negative: such a value wraps around. So a channel's entry goes with a mark of what it means for the
/// next channel, and the next channel's table has two halves.
struct ChannelFilter
{
    static constexpr quint16 mark = 0x100;

    std::array<quint16, 256> red;   ///< marked: was out of range
    std::array<quint16, 512> green; ///< second half: where red is marked. Marked: was negative
    std::array<quint16, 512> blue;  ///< second half: where green is marked

    /// @param change a channel's value, 0 to 255, before the closing step
    template <typename Change>
    explicit ChannelFilter(const Change &change)
    {
        for (int i = 0; i < 256; ++i) {
            const float value = change(static_cast<float>(i));
            const quint16 limited = lowByte(clampedToByte(value));
            const quint16 wrapped = lowByte(value);
            const quint16 negative = value < 0 ? mark : 0;
            red[i] = limited | (value < 0 || value > 255 ? mark : 0);
            green[i] = limited | negative;
            green[256 + i] = negative ? limited | negative : wrapped;
            blue[i] = limited;
            blue[256 + i] = wrapped;
        }
    }

    /// A filter that gives every channel these values, all within range.
    explicit ChannelFilter(const Table &table)
        : ChannelFilter(
            [&table](float value) { return static_cast<float>(table[static_cast<size_t>(value)]); })
    {
    }

    /// True if no value leaves its range, so that every channel goes by itself.
    bool isPlain() const
    {
        return std::none_of(red.begin(), red.end(), [](quint16 entry) { return entry & mark; });
    }

    bool isIdentity() const
    {
        for (int i = 0; i < 256; ++i) {
            if (red[i] != i)
                return false;
        }
        return true;
    }

    /// This filter, then one that is plain.
    void append(const ChannelFilter &plain)
    {
        const auto map = [&plain](auto &entries) {
            for (quint16 &entry : entries)
                entry = (entry & mark) | plain.red[entry & 0xff];
        };
        map(red);
        map(green);
        map(blue);
    }

    QRgb operator()(QRgb pixel) const
    {
        const quint16 r = red[pixel >> 16 & 0xff];
        const quint16 g = green[(r & mark) | (pixel >> 8 & 0xff)];
        const quint16 b = blue[(g & mark) | (pixel & 0xff)];
        return (pixel & 0xff000000) | (r & 0xffu) << 16 | (g & 0xffu) << 8 | (b & 0xffu);
    }
};

ChannelFilter channelFilter(FilterType type, float value)
{
    switch (type) {
    case Contrast: {
        float divisor = (259 - value) * 255;
        if (divisor == 0)
            divisor = (259 - (value + 1)) * 255;
        const float factor = (value + 255) * 259 / divisor;
        return ChannelFilter([factor](float v) { return (v - 128) * factor + 128; });
    }
    case Gamma: {
        const float exponent = 1 / ((value + 100) / 100);
        return ChannelFilter([exponent](float v) { return std::pow(v / 255, exponent) * 255; });
    }
    case InvertColours:
        return ChannelFilter([value](float v) { return value > v ? 255 - v : v; });
    case Brightness:
        return ChannelFilter([value](float v) { return v + value; });
    default:
        return ChannelFilter([](float v) { return v; });
    }
}

/// Brown tones. Each line uses the results of those before it, which makes the tone stronger than the usual
/// matrix does. Without branches, so that the compiler works on several pixels at once.
QRgb sepia(QRgb pixel)
{
    const int r = pixel >> 16 & 0xff;
    const int g = pixel >> 8 & 0xff;
    const int b = pixel & 0xff;
    const float red = static_cast<float>(0.393 * r + 0.769 * g + 0.189 * b);
    const float green = static_cast<float>(0.686 * g + 0.349 * red + 0.168 * b);
    const float blue = static_cast<float>(0.534 * green + 0.272 * red + 0.131 * b);
    // No value is negative. Green above its range wraps around where red is above its own.
    const auto limited = [](float value) { return std::min(static_cast<int>(value), 255); };
    const int limitedGreen = red > 255 ? static_cast<int>(green) & 0xff : limited(green);
    return (pixel & 0xff000000) | static_cast<uint>(limited(red) << 16 | limitedGreen << 8 | limited(blue));
}

/// An image for the results of a filter, in `Format_RGB32`.
QImage imageLike(const QImage &source)
{
    QImage image(source.size(), QImage::Format_RGB32);
    copyMetadata(source, image);
    return image;
}

/// Every pixel of the image changed.
template <typename Change>
QImage changed(const QImage &image, const Change &change)
{
    const QImage source = image.convertToFormat(QImage::Format_RGB32);
    QImage result = imageLike(source);
    if (result.isNull())
        return result;
    uchar *const bits = result.bits();
    parallelRows(
        source.size(), [&source, &change, bits, stride = result.bytesPerLine()](int first, int last) {
            for (int y = first; y < last; ++y) {
                const QRgb *const from = reinterpret_cast<const QRgb *>(source.constScanLine(y));
                std::transform(from, from + source.width(), reinterpret_cast<QRgb *>(bits + y * stride),
                               [&change](QRgb pixel) { return change(pixel); });
            }
        });
    return result;
}

} // namespace

QImage ColourFilters::applyLive(const QImage &image, int contrast, int brightness, int gamma,
                                int invertColours)
{
    // Whole steps of gamma: the live view moves by them.
    const int steps = static_cast<int>((gamma + 100) / 100.0f);
    const float exponent = 1.0f / steps;
    const auto asFloat = [](qint64 value) { return static_cast<float>(value); };
    const qint64 divisor = 66045 - 255 * qint64(contrast);
    const float factor = asFloat((contrast + qint64(255)) * 259)
                         / asFloat(divisor != 0 ? divisor : 65790 - 255 * qint64(contrast));
    Table table;
    for (int i = 0; i < 256; ++i) {
        float v = clampedToByte((static_cast<float>(i) - 128) * factor + 128);
        v = clampedToByte(v + static_cast<float>(brightness));
        v = clampedToByte(std::pow(v / 255, exponent) * 255);
        if (static_cast<float>(invertColours) > v)
            v = 255 - v;
        table[i] = lowByte(clampedToByte(v));
    }
    return changed(image, [&table](QRgb pixel) {
        return (pixel & 0xff000000) | uint(table[qRed(pixel)]) << 16 | uint(table[qGreen(pixel)]) << 8
               | table[qBlue(pixel)];
    });
}

QImage ColourFilters::apply(const QImage &image, int filterType, float value)
{
    if (filterType == Sepia)
        return changed(image, [](QRgb pixel) { return sepia(pixel); });
    return changed(image, channelFilter(static_cast<FilterType>(filterType), value));
}

QImage ColourFilters::applyAdjustments(QImage image, int contrast, int brightness, int gamma,
                                       int invertColours)
{
    std::vector<ChannelFilter> filters;
    const auto add = [&filters](FilterType type, int value) {
        const ChannelFilter filter = channelFilter(type, static_cast<float>(value));
        if (filter.isPlain() && !filters.empty())
            filters.back().append(filter);
        else if (!filter.isPlain() || !filter.isIdentity())
            filters.push_back(filter);
    };
    add(Contrast, contrast);
    add(Brightness, brightness);
    add(Gamma, gamma);
    add(InvertColours, invertColours);
    return changed(image, [&filters](QRgb pixel) {
        for (const ChannelFilter &filter : filters)
            pixel = filter(pixel);
        return pixel;
    });
}

QImage ColourFilters::grayscale(const QImage &image)
{
    QImage gray = imageLike(image);
    if (gray.isNull())
        return gray;
    // Pieces that stay in the cache, and are too small for Qt to start threads of its own.
    const int rowsTogether = std::max(1, pixelsTogether / image.width());
    uchar *const bits = gray.bits();
    parallelRows(image.size(), [&, stride = gray.bytesPerLine()](int first, int last) {
        for (int top = first; top < last; top += rowsTogether) {
            const int height = std::min(rowsTogether, last - top);
            QImage rows(image.constScanLine(top), image.width(), height, image.bytesPerLine(),
                        image.format());
            rows.setColorTable(image.colorTable());
            rows.setColorSpace(image.colorSpace());
            rows = rows.convertToFormat(QImage::Format_Grayscale8);
            for (int y = 0; y < height; ++y) {
                const uchar *const from = rows.constScanLine(y);
                std::transform(from, from + image.width(),
                               reinterpret_cast<QRgb *>(bits + (top + y) * stride),
                               [](uchar value) { return qRgb(value, value, value); });
            }
        }
    });
    return gray;
}
