#include "shared/image/ColourToneMapping.h"

#include "shared/image/ParallelRows.h"

#include <QGenericMatrix>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

namespace {

constexpr double white = 203;          // cd/m2
constexpr double black = white / 1000; // cd/m2
constexpr double hlgPeak = 1000;       // cd/m2
constexpr double most = 10000;         // cd/m2, the end of PQ
constexpr int levels = 65536;

using Matrix = QGenericMatrix<3, 3, double>;
using Table = std::vector<float>;

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

/// Light at the scene, from 0 to 1.
double fromHlg(double signal)
{
    constexpr double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    return signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - c) / a) + b) / 12;
}

double toSrgb(double light)
{
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// The light to show, as a share of white, of one in cd/m2 in a picture of that peak.
double compressed(double light, double peak)
{
    if (peak <= white)
        return light / white;
    const auto rho = [](double maximum) { return 1 + 32 * std::pow(maximum / most, 1 / 2.4); };
    const double x =
        std::log(1 + (rho(peak) - 1) * std::pow(std::min(light / peak, 1.0), 1 / 2.4)) / std::log(rho(peak));
    const double y = x <= 0.7399  ? 1.0770 * x
                     : x < 0.9909 ? (-1.1510 * x + 2.7811) * x - 0.6302
                                  : 0.5 * x + 0.5;
    const double signal = (std::pow(rho(white), y) - 1) / (rho(white) - 1);
    const double lift = std::pow(black, 1 / 2.4);
    const double shown = std::pow((std::pow(white, 1 / 2.4) - lift) * signal + lift, 2.4);
    return (shown - black) / (white - black);
}

/// A table of what a function makes of 0 to 1.
template <typename Function>
Table tabulated(const Function &function)
{
    Table table(levels);
    for (int i = 0; i < levels; ++i)
        table[static_cast<size_t>(i)] = static_cast<float>(function(static_cast<double>(i) / (levels - 1)));
    return table;
}

float lookUp(const Table &table, float value)
{
    return table[static_cast<size_t>(std::clamp(value, 0.F, 1.F) * (levels - 1) + 0.5F)];
}

/// What becomes of a pixel.
class Mapping
{
public:
    explicit Mapping(Colour::CodePoints points)
        : isHlg(points.isHlg())
        , toLight(tabulated(isHlg ? fromHlg : fromPq))
        , encode(tabulated([](double light) { return 65535 * toSrgb(light); }))
    {
        const Matrix xyz = toXyz(points.primaries);
        const Matrix srgb = inverse(toXyz(1)) * xyz;
        for (int row = 0; row < 3; ++row) {
            luminances[row] = static_cast<float>(xyz(1, row));
            for (int column = 0; column < 3; ++column)
                matrix[row][column] = static_cast<float>(srgb(row, column));
        }
    }

    /// Light in cd/m2.
    std::array<float, 3> light(const quint16 *pixel) const
    {
        std::array light{toLight[pixel[0]], toLight[pixel[1]], toLight[pixel[2]]};
        if (isHlg) {
            const float gain = static_cast<float>(hlgPeak) * std::pow(luminance(light), 0.2F);
            for (float &channel : light)
                channel *= gain;
        }
        return light;
    }

    void setPeak(double light)
    {
        peak = static_cast<float>(light);
        // The root spreads the dark end.
        curve = tabulated([light](double root) { return compressed(root * root * light, light); });
    }

    void map(quint16 *pixel) const
    {
        constexpr float crosstalk = 0.04F; // BT.2446-1, 5.1.1.2, between channels, undone below
        const std::array light = this->light(pixel);
        const float luma = luminance(light);
        const float shown = toShow(luma);
        const float scale = luma > 0 ? shown / luma : 0;
        // HLG leaves the hue to its system gamma.
        const float mix = isHlg ? 0 : shown * std::sqrt(shown);
        const float sum = light[0] + light[1] + light[2];
        std::array<float, 3> channels{};
        for (int i = 0; i < 3; ++i)
            channels[i] = toShow(light[i] * (1 - 3 * crosstalk) + sum * crosstalk);
        const float mapped = channels[0] + channels[1] + channels[2];
        for (int i = 0; i < 3; ++i) {
            const float alone = (channels[i] - crosstalk * mapped) / (1 - 3 * crosstalk);
            channels[i] = light[i] * scale * (1 - mix) + alone * mix;
        }
        for (int i = 0; i < 3; ++i)
            pixel[i] =
                static_cast<quint16>(lookUp(encode, matrix[i][0] * channels[0] + matrix[i][1] * channels[1]
                                                        + matrix[i][2] * channels[2])
                                     + 0.5F);
    }

private:
    float luminance(const std::array<float, 3> &light) const
    {
        return luminances[0] * light[0] + luminances[1] * light[1] + luminances[2] * light[2];
    }
    float toShow(float light) const { return lookUp(curve, std::sqrt(light / peak)); }

    const bool isHlg;
    const Table toLight; ///< of the signal
    const Table encode;  ///< of light as a share of white
    Table curve;         ///< of the root of light as a share of the peak
    float peak = 1;
    float luminances[3];
    float matrix[3][3];
};

/// The light in cd/m2 of the brightest channels, less a ten-thousandth of the pixels, which may be noise.
double peakOf(const QImage &image, const Mapping &mapping)
{
    constexpr int bins = 2048; // over the root of light
    constexpr float perRoot = bins / 100.F;
    std::vector<std::atomic<int>> counts(bins + 1);
    parallelRows(image.size(), [&](int first, int last) {
        std::vector<int> own(counts.size());
        for (int y = first; y < last; ++y) {
            const auto *pixel = reinterpret_cast<const quint16 *>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x, pixel += 4) {
                const std::array light = mapping.light(pixel);
                ++own[static_cast<size_t>(
                    std::min(std::sqrt(*std::max_element(light.begin(), light.end())), 100.F) * perRoot)];
            }
        }
        for (size_t i = 0; i < own.size(); ++i)
            counts[i] += own[i];
    });
    qint64 brighter = qint64(image.width()) * image.height() / 10'000;
    int bin = bins;
    while (bin > 0 && (brighter -= counts[static_cast<size_t>(bin)]) >= 0)
        --bin;
    return std::pow((bin + 0.5) / perRoot, 2);
}

} // namespace

QImage Colour::toneMapped(QImage image, CodePoints points)
{
    image.convertTo(image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64);
    constexpr double margin = 1.05; // for what is taken for noise
    Mapping mapping(points);
    mapping.setPeak(points.isHlg() ? hlgPeak : margin * peakOf(image, mapping));
    uchar *const pixels = image.bits();
    const qsizetype stride = image.bytesPerLine();
    parallelRows(image.size(), [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            auto *const line = reinterpret_cast<quint16 *>(pixels + y * stride);
            for (qsizetype x = 0; x < image.width(); ++x)
                mapping.map(line + 4 * x);
        }
    });
    image.setColorSpace(QColorSpace::SRgb);
    return image;
}
