#include "shared/image/ColourToneMapping.h"

#include "shared/image/ParallelRows.h"

#include <QGenericMatrix>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <vector>

namespace {

constexpr double white = 203;          // cd/m2
constexpr double black = white / 1000; // cd/m2
constexpr double hlgPeak = 1000;       // cd/m2
constexpr double hlgBlack = 0.005; // cd/m2, of the screen that such pictures are made on (BT.2100, table 2)
constexpr double most = 10000;     // cd/m2, the end of PQ
constexpr int levels = 65536;

using Matrix = QGenericMatrix<3, 3, double>;

/// As many pixels as are worked on together, a step after the other, so that the processor takes several at
/// once.
constexpr size_t tileSize = 64;
using Tile = std::array<float, tileSize>;

Matrix inverse(const Matrix &m)
{
    Matrix result;
    const auto at = [&m](int row, int column) { return m(row % 3, column % 3); };
    double determinant = 0;
    for (int i = 0; i < 3; ++i)
        determinant += at(0, i) * (at(1, i + 1) * at(2, i + 2) - at(1, i + 2) * at(2, i + 1));
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            result(column, row) = (at(row + 1, column + 1) * at(row + 2, column + 2)
                                   - at(row + 1, column + 2) * at(row + 2, column + 1))
                                  / determinant;
    return result;
}

/// From linear RGB to CIE XYZ. The luminances of the primaries add up to that of white (SMPTE RP 177).
Matrix toXyz(int primaries)
{
    const auto points = Colour::chromaticities(primaries);
    const auto xyz = [&points](int i) {
        const auto [x, y] = points[static_cast<size_t>(i)];
        return std::array{x / y, 1.0, (1 - x - y) / y};
    };
    Matrix colours;
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row)
            colours(row, column) = xyz(column + 1)[static_cast<size_t>(row)];
    const Matrix inverted = inverse(colours);
    for (int column = 0; column < 3; ++column) {
        double luminance = 0;
        for (int i = 0; i < 3; ++i)
            luminance += inverted(column, i) * xyz(0)[static_cast<size_t>(i)];
        for (int row = 0; row < 3; ++row)
            colours(row, column) *= luminance;
    }
    return colours;
}

double fromPq(double signal)
{
    constexpr double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    constexpr double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    const double power = std::pow(signal, 1 / m2);
    return most * std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1 / m1);
}

/// Light at the scene, from 0 to 1, of a signal that is lifted as the screen's black asks for (BT.2100, table
/// 5).
double fromHlg(double signal)
{
    static const double lift = std::sqrt(3 * std::pow(hlgBlack / hlgPeak, 1 / 1.2));
    signal = signal * (1 - lift) + lift;
    constexpr double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    return signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - c) / a) + b) / 12;
}

double toSrgb(double light)
{
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// The light of the screen, black among it, as a share of white, for one in cd/m2 in a picture of that peak,
/// which is above white.
double compressed(double light, double peak)
{
    const auto rho = [](double maximum) { return 1 + 32 * std::pow(maximum / most, 1 / 2.4); };
    const double x =
        std::log(1 + (rho(peak) - 1) * std::pow(std::min(light / peak, 1.0), 1 / 2.4)) / std::log(rho(peak));
    const double y = x <= 0.7399  ? 1.0770 * x
                     : x < 0.9909 ? (-1.1510 * x + 2.7811) * x - 0.6302
                                  : 0.5 * x + 0.5;
    const double signal = (std::pow(rho(white), y) - 1) / (rho(white) - 1);
    const double lift = std::pow(black, 1 / 2.4);
    return std::pow((std::pow(white, 1 / 2.4) - lift) * signal + lift, 2.4) / white;
}

/// What becomes of the distance of a channel from the luminance, as a factor.
double chroma(double light, double peak)
{
    constexpr double faintest = 1e-6;
    light = std::max(light, faintest);
    // BT.2446-1, 5.1.1.2, has 1.1 and no power.
    return std::pow(compressed(light, peak) * peak / light, 1.05) / 1.1;
}

/// What a function makes of light from 0 to 1, by a table whose steps grow with the light, with straight
/// lines between them. With 64 to a doubling, the lines are off by some 1/100,000 of a root.
class Curve
{
public:
    template <typename Function>
    explicit Curve(const Function &function)
    {
        for (size_t i = 1; i < values.size(); ++i)
            values[i] = static_cast<float>(function(
                std::min(std::bit_cast<float>(darkest + static_cast<qint32>(i << fractionBits)), 1.F)));
        values[0] = static_cast<float>(function(0));
    }

    void apply(Tile &light) const
    {
        std::array<qint32, tileSize> bits;
        for (size_t i = 0; i < tileSize; ++i) {
            const float within = std::max(std::min(light[i], 1.F), std::bit_cast<float>(darkest));
            bits[i] = std::bit_cast<qint32>(within) - darkest;
        }
        Tile above;
        for (size_t i = 0; i < tileSize; ++i) {
            const float *const value = values.data() + (bits[i] >> fractionBits);
            light[i] = value[0];
            above[i] = value[1];
        }
        for (size_t i = 0; i < tileSize; ++i) {
            const float fraction =
                static_cast<float>(bits[i] & ((1 << fractionBits) - 1)) / (1 << fractionBits);
            light[i] += fraction * (above[i] - light[i]);
        }
    }

private:
    // The bits of a number of 32 grow with it, the upper ones as its logarithm.
    static constexpr auto darkest = std::bit_cast<qint32>(0x1p-32F);
    static constexpr auto one = std::bit_cast<qint32>(1.F);
    static constexpr int fractionBits = 23 - 6;

    std::array<float, ((one - darkest) >> fractionBits) + 2> values{};
};

/// What becomes of a pixel.
class Mapping
{
public:
    /// @param peak of the picture, in cd/m2
    Mapping(Colour::CodePoints points, double peak)
        : isHlg(points.isHlg())
        , isBright(peak > white)
        , toLight(levels)
        , systemGain([](double light) { return std::pow(light, 0.2); })
        , compress([peak](double light) { return compressed(light * peak, peak); })
        , chromaGain([peak](double light) { return chroma(light * peak, peak); })
        , share([peak](double light) { return std::pow(compressed(light * peak, peak), 2.6); })
        , encode([](double light) {
            return 65535 * toSrgb(std::max(light * white - black, 0.0) / (white - black));
        })
    {
        for (size_t i = 0; i < levels; ++i) {
            const double signal = static_cast<double>(i) / (levels - 1);
            toLight[i] =
                static_cast<float>(isHlg      ? fromHlg(signal)
                                   : isBright ? fromPq(signal) / peak
                                              : (fromPq(signal) * (white - black) / white + black) / white);
        }
        const Matrix xyz = toXyz(points.primaries);
        Matrix srgb = inverse(toXyz(1)) * xyz;
        if (isBright)
            srgb = srgb * inverse(crosstalk());
        for (int row = 0; row < 3; ++row) {
            luminances[row] = static_cast<float>(xyz(1, row));
            for (int column = 0; column < 3; ++column)
                matrix[row][column] = static_cast<float>(srgb(row, column));
        }
    }

    /// @param count up to that of a tile
    void map(quint16 *pixels, size_t count) const
    {
        std::array<Tile, 3> light{}; // as a share of the peak
        for (size_t i = 0; i < count; ++i)
            for (size_t channel = 0; channel < 3; ++channel)
                light[channel][i] = toLight[pixels[4 * i + channel]];
        if (isHlg)
            addSystemGain(light);
        if (isBright)
            compressLight(light);
        const std::array<Tile, 3> linear = light;
        for (size_t channel = 0; channel < 3; ++channel) {
            const auto &[red, green, blue] = matrix[channel];
            for (size_t i = 0; i < tileSize; ++i)
                light[channel][i] = red * linear[0][i] + green * linear[1][i] + blue * linear[2][i];
            encode.apply(light[channel]);
        }
        for (size_t i = 0; i < count; ++i)
            for (size_t channel = 0; channel < 3; ++channel)
                pixels[4 * i + channel] = static_cast<quint16>(static_cast<qint32>(light[channel][i] + 0.5F));
    }

private:
    /// BT.2446-1, 5.1.1.2: mixes the channels, until the matrix to sRGB undoes it.
    static Matrix crosstalk()
    {
        Matrix mixing;
        mixing.fill(leak);
        for (int i = 0; i < 3; ++i)
            mixing(i, i) = 1 - 2 * leak;
        return mixing;
    }

    Tile luminance(const std::array<Tile, 3> &light) const
    {
        Tile sum;
        for (size_t i = 0; i < tileSize; ++i)
            sum[i] = luminances[0] * light[0][i] + luminances[1] * light[1][i] + luminances[2] * light[2][i];
        return sum;
    }

    void addSystemGain(std::array<Tile, 3> &light) const
    {
        Tile gain = luminance(light);
        systemGain.apply(gain);
        for (Tile &channel : light)
            for (size_t i = 0; i < tileSize; ++i)
                channel[i] *= gain[i];
    }

    void compressLight(std::array<Tile, 3> &light) const
    {
        for (size_t i = 0; i < tileSize; ++i) {
            const float leaked = leak * (light[0][i] + light[1][i] + light[2][i]);
            for (Tile &channel : light)
                channel[i] = (1 - 3 * leak) * channel[i] + leaked;
        }
        const Tile luma = luminance(light);
        Tile shown = luma;
        compress.apply(shown);
        Tile gain = luma;
        chromaGain.apply(gain);
        Tile mix{}; // HLG leaves the hue to its system gamma
        if (!isHlg)
            share.apply(mix = luma);
        Tile shift;
        for (size_t i = 0; i < tileSize; ++i) {
            constexpr float ofRed = 0.09F / 1.4746F; // BT.2446-1, 5.1.1.2, has 0.1 of a positive Cr
            shift[i] = shown[i] - std::max(ofRed * gain[i] * (light[0][i] - luma[i]), 0.F);
        }
        for (Tile &channel : light) {
            Tile alone = channel;
            if (!isHlg)
                compress.apply(alone);
            for (size_t i = 0; i < tileSize; ++i)
                channel[i] = (shift[i] + gain[i] * (channel[i] - luma[i])) * (1 - mix[i]) + alone[i] * mix[i];
        }
    }

    static constexpr float leak = 0.04F;

    const bool isHlg;
    const bool isBright;        ///< brighter than white
    std::vector<float> toLight; ///< of the signal, as a share of the peak; HLG's at the scene
    const Curve systemGain;
    // Of luminance as a share of the peak:
    const Curve compress;   ///< to light as a share of white
    const Curve chromaGain; ///< of the channels' distances from it
    const Curve share;      ///< of what is compressed channel by channel
    const Curve encode;     ///< of light as a share of white, black among it
    float luminances[3];
    float matrix[3][3];
};

/// The light in cd/m2 of the brightest channels of a picture in PQ, less a ten-thousandth of the pixels,
/// which may be noise.
double peakOf(const QImage &image)
{
    constexpr int signalsEach = 16;
    const int width = image.width();
    std::vector<std::atomic<int>> counts(levels / signalsEach);
    parallelRows(image.size(), [&](int first, int last) {
        std::vector<int> own(counts.size());
        for (int y = first; y < last; ++y) {
            const auto *pixel = reinterpret_cast<const quint16 *>(image.constScanLine(y));
            for (int x = 0; x < width; ++x, pixel += 4)
                ++own[std::max({pixel[0], pixel[1], pixel[2]}) / signalsEach];
        }
        for (size_t i = 0; i < own.size(); ++i)
            counts[i] += own[i];
    });
    qint64 brighter = qint64(image.width()) * image.height() / 10'000;
    size_t bin = counts.size() - 1;
    while (bin > 0 && (brighter -= counts[bin]) >= 0)
        --bin;
    return fromPq((static_cast<double>(bin) + 0.5) * signalsEach / levels);
}

} // namespace

QImage Colour::toneMapped(QImage image, CodePoints points)
{
    image.convertTo(image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64);
    constexpr double margin = 1.05; // for what is taken for noise
    const Mapping mapping(points, points.isHlg() ? hlgPeak : margin * peakOf(image));
    uchar *const pixels = image.bits();
    const auto width = static_cast<size_t>(image.width());
    const qsizetype stride = image.bytesPerLine();
    parallelRows(image.size(), [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            auto *const line = reinterpret_cast<quint16 *>(pixels + y * stride);
            for (size_t x = 0; x < width; x += tileSize)
                mapping.map(line + 4 * x, std::min(width - x, tileSize));
        }
    });
    image.setColorSpace(QColorSpace::SRgb);
    return image;
}
