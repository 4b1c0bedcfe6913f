#include "formats/psd/PsdPixels.h"

#include <QRgba64>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace PsdReader {

namespace {

constexpr int full = 65535;
constexpr int mostChannels = 5; // CMYK and alpha

struct Colour
{
    quint16 red, green, blue;
};

/// sRGB's encoding of linear light from 0 to 1.
quint16 encoded(float linear)
{
    static const auto table = [] {
        std::array<quint16, full + 1> values{};
        for (int i = 0; i <= full; ++i) {
            const double light = static_cast<double>(i) / full;
            const double value =
                light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
            values[i] = static_cast<quint16>(std::lround(value * full));
        }
        return values;
    }();
    if (!(linear > 0)) // also what is not a number
        return 0;
    return table[linear >= 1 ? full : std::lround(linear * full)];
}

void readSamples(QByteArrayView row, int depth, std::vector<quint16> &samples)
{
    const char *const bytes = row.data();
    const auto width = static_cast<qsizetype>(samples.size());
    for (qsizetype x = 0; x < width; ++x) {
        if (depth == 8)
            samples[x] = static_cast<quint16>(static_cast<uchar>(bytes[x]) * 257);
        else if (depth == 16)
            samples[x] = qFromBigEndian<quint16>(bytes + 2 * x);
        else
            samples[x] = encoded(qFromBigEndian<float>(bytes + 4 * x));
    }
}

Colour fromLab(int lightness, int a, int b)
{
    // From CIE Lab with D50 white to linear sRGB with its D65 white, by Bradford's adaptation.
    const auto inverse = [](float t) { return t > 6.0f / 29 ? t * t * t : (t - 4.0f / 29) * 108 / 841; };
    const float fy = (lightness * 100.0f / full + 16) / 116;
    const float x = 0.9642f * inverse(fy + (a - 32896) / 257.0f / 500);
    const float y = inverse(fy);
    const float z = 0.8249f * inverse(fy - (b - 32896) / 257.0f / 200);
    return {encoded(3.1339f * x - 1.6169f * y - 0.4906f * z),
            encoded(-0.9788f * x + 1.9161f * y + 0.0335f * z),
            encoded(0.0719f * x - 0.2290f * y + 1.4052f * z)};
}

/// What the colour was before it was blended with white.
Colour withoutWhite(Colour colour, int alpha)
{
    if (alpha == 0 || alpha == full)
        return colour;
    const auto undo = [alpha](qint64 value) {
        return static_cast<quint16>(std::clamp<qint64>((value - (full - alpha)) * full / alpha, 0, full));
    };
    return {undo(colour.red), undo(colour.green), undo(colour.blue)};
}

void store(QImage::Format format, uchar *line, int x, Colour colour, int alpha)
{
    const auto byte = [](int value) { return (value - (value >> 8) + 128) >> 8; }; // rounded
    switch (format) {
    case QImage::Format_Grayscale8:
        line[x] = static_cast<uchar>(byte(colour.red));
        break;
    case QImage::Format_Grayscale16:
        reinterpret_cast<quint16 *>(line)[x] = colour.red;
        break;
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        reinterpret_cast<QRgb *>(line)[x] =
            qRgba(byte(colour.red), byte(colour.green), byte(colour.blue), byte(alpha));
        break;
    default:
        reinterpret_cast<QRgba64 *>(line)[x] =
            QRgba64::fromRgba64(colour.red, colour.green, colour.blue, static_cast<quint16>(alpha));
    }
}

} // namespace

int colourChannels(const Header &header)
{
    switch (header.mode) {
    case Mode::Rgb:
    case Mode::Lab:
        return 3;
    case Mode::Cmyk:
        return 4;
    case Mode::Multichannel: // the inks of CMY or CMYK, or as many grey pictures, of which the first serves
        return header.channels < 3 ? 1 : std::min(header.channels, 4);
    default:
        return 1;
    }
}

int fillRows(QImage &image, const Header &header, Transparency transparency, Planes &planes)
{
    const int colours = colourChannels(header);
    const int channels = colours + (transparency == Transparency::None ? 0 : 1);
    const bool stored = header.mode == Mode::Bitmap || header.mode == Mode::Indexed;
    std::array<std::vector<quint16>, mostChannels> samples;
    for (int channel = 0; channel < channels; ++channel)
        samples[channel].resize(header.size.width());

    const auto colourAt = [&](int x) -> Colour {
        const quint16 first = samples[0][x];
        if (colours == 1)
            return {first, first, first};
        if (header.mode == Mode::Lab)
            return fromLab(first, samples[1][x], samples[2][x]);
        if (colours == 3)
            return {first, samples[1][x], samples[2][x]};
        const quint32 paper = samples[3][x]; // the inks are stored as what they leave of the paper's white
        const auto inked = [paper](quint32 ink) { return static_cast<quint16>(ink * paper / full); };
        return {inked(first), inked(samples[1][x]), inked(samples[2][x])};
    };

    for (int y = 0; y < image.height(); ++y) {
        uchar *const line = image.scanLine(y);
        for (int channel = 0; channel < channels; ++channel) {
            const std::optional<QByteArrayView> row = planes.row(channel, y);
            if (!row)
                return y;
            if (stored)
                std::memcpy(line, row->data(), row->size());
            else
                readSamples(*row, header.depth, samples[channel]);
        }
        for (int x = 0; !stored && x < image.width(); ++x) {
            const int alpha = transparency == Transparency::None ? full : samples[colours][x];
            const Colour colour = colourAt(x);
            store(image.format(), line, x,
                  transparency == Transparency::OnWhite ? withoutWhite(colour, alpha) : colour, alpha);
        }
    }
    return image.height();
}

} // namespace PsdReader
