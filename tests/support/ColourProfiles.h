#pragma once

#include <QByteArray>
#include <QRgb>

#include <array>
#include <functional>

/// ICC profiles of kinds that Qt does not make, made by littlecms.
namespace ColourProfiles {

/// The sRGB colour of a device's samples, which are from 0 to 1.
using Meaning = std::function<std::array<float, 3>(const std::array<float, 4> &samples)>;

/// A profile that goes by a table from the device's samples, three of RGB or four inks, to CIE Lab.
QByteArray ofTable(int samples, const Meaning &meaning);

/// One in which red stands for blue, green for red and blue for green.
QByteArray rotated();

/// The same for inks, by what each leaves of white; black darkens all as in a plain product.
QByteArray rotatedInks();

/// The colour that samples mean in such a profile.
constexpr QRgb rotate(QRgb colour)
{
    return qRgba(qGreen(colour), qBlue(colour), qRed(colour), qAlpha(colour));
}

} // namespace ColourProfiles
