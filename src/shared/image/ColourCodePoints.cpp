#include "shared/image/ColourCodePoints.h"

#include <QDataStream>
#include <QIODevice>
#include <QList>
#include <QPointF>
#include <QtEndian>

#include <cmath>

namespace {

using Transfer = QColorSpace::TransferFunction;

constexpr int unspecified = 2;
constexpr qsizetype header = 128; // of an ICC profile

/// Light by signal, in 16 bits, of the camera transfer that BT.601, BT.709 and BT.2020 share. It is undone as
/// it stands in the table, like every other; a screen's gamma of 2.4 (BT.1886) belongs to video seen in the
/// dark.
QList<uint16_t> cameraTransfer()
{
    constexpr int entries = 1024;
    QList<uint16_t> table(entries);
    for (int i = 0; i < entries; ++i) {
        const double signal = static_cast<double>(i) / (entries - 1);
        const double light = signal < 0.081 ? signal / 4.5 : std::pow((signal + 0.099) / 1.099, 1 / 0.45);
        table[i] = static_cast<uint16_t>(std::lround(light * 65535));
    }
    return table;
}

QColorSpace linearSpace(int primaries)
{
    if (primaries == 1 || primaries == unspecified)
        return QColorSpace(QColorSpace::Primaries::SRgb, Transfer::Linear);
    if (primaries == 12)
        return QColorSpace(QColorSpace::Primaries::DciP3D65, Transfer::Linear);
    const auto points = Colour::chromaticities(primaries);
    const auto at = [&points](int i) { return QPointF(points[i][0], points[i][1]); };
    return QColorSpace(at(0), at(1), at(2), at(3), Transfer::Linear);
}

/// An ICC profile with nothing but the tag cicp.
QByteArray profileOf(Colour::CodePoints points)
{
    QByteArray profile(header, 0);
    profile.replace(8, 16, QByteArray("\4\x40\0\0mntrRGB XYZ ", 16));
    profile.replace(36, 4, "acsp");
    QDataStream out(&profile, QIODevice::Append);
    constexpr quint32 tags = 1, tagLength = 12, listLength = 16;
    out << tags;
    out.writeRawData("cicp", 4);
    out << quint32(header + listLength) << tagLength;
    out.writeRawData("cicp\0\0\0\0", 8);
    out << quint8(points.primaries) << quint8(points.transfer) << quint8(0) << quint8(1);
    qToBigEndian(static_cast<quint32>(profile.size()), profile.data());
    return profile;
}

} // namespace

std::array<std::array<double, 2>, 4> Colour::chromaticities(int primaries)
{
    using Point = std::array<double, 2>;
    constexpr Point d65{0.3127, 0.3290}, c{0.310, 0.316};
    switch (primaries) {
    case 4:
        return {c, Point{0.67, 0.33}, Point{0.21, 0.71}, Point{0.14, 0.08}};
    case 5:
        return {d65, Point{0.64, 0.33}, Point{0.29, 0.60}, Point{0.15, 0.06}};
    case 6:
    case 7:
        return {d65, Point{0.630, 0.340}, Point{0.310, 0.595}, Point{0.155, 0.070}};
    case 8:
        return {c, Point{0.681, 0.319}, Point{0.243, 0.692}, Point{0.145, 0.049}};
    case 9:
        return {d65, Point{0.708, 0.292}, Point{0.170, 0.797}, Point{0.131, 0.046}};
    case 11:
        return {Point{0.314, 0.351}, Point{0.680, 0.320}, Point{0.265, 0.690}, Point{0.150, 0.060}};
    case 12:
        return {d65, Point{0.680, 0.320}, Point{0.265, 0.690}, Point{0.150, 0.060}};
    case 22:
        return {d65, Point{0.630, 0.340}, Point{0.295, 0.605}, Point{0.155, 0.077}};
    default:
        return {d65, Point{0.64, 0.33}, Point{0.30, 0.60}, Point{0.15, 0.06}};
    }
}

QColorSpace Colour::colourSpace(CodePoints points)
{
    if (points.isPq() || points.isHlg())
        return QColorSpace::fromIccProfile(profileOf(points));
    // Qt 6.4 makes no valid space of a white, primaries and a table at once.
    const QColorSpace linear = linearSpace(points.primaries);
    switch (points.transfer) {
    case 13:
        return linear.withTransferFunction(Transfer::SRgb);
    case unspecified:
        return points.primaries == unspecified ? QColorSpace() : linear.withTransferFunction(Transfer::SRgb);
    case 8:
        return linear;
    case 4:
        return linear.withTransferFunction(Transfer::Gamma, 2.2F);
    case 5:
        return linear.withTransferFunction(Transfer::Gamma, 2.8F);
    case 1:
    case 6:
    case 14:
    case 15:
        return linear.withTransferFunction(cameraTransfer());
    default:
        return {};
    }
}

std::optional<Colour::CodePoints> Colour::highDynamicRange(const QByteArray &profile)
{
    const auto number = [&profile](qsizetype at) {
        return qFromBigEndian<quint32>(profile.constData() + at);
    };
    constexpr quint32 mostTags = 100;
    for (quint32 i = 0;
         i < mostTags && header + 16 + 12 * qsizetype(i) <= profile.size() && i < number(header); ++i) {
        const qsizetype entry = header + 4 + 12 * qsizetype(i);
        const qsizetype data = number(entry + 4);
        if (profile.mid(entry, 4) != "cicp" || data + 12 > profile.size())
            continue;
        const CodePoints points{static_cast<uchar>(profile[data + 8]), static_cast<uchar>(profile[data + 9])};
        if (points.isPq() || points.isHlg())
            return points;
    }
    return {};
}
