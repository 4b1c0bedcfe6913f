#pragma once

#include <QByteArray>
#include <QColorSpace>

#include <array>
#include <optional>

namespace Colour {

/// What a picture's primaries and transfer are by the numbers of ITU-T H.273, tables 2 and 3.
struct CodePoints
{
    int primaries;
    int transfer;

    bool isPq() const { return transfer == 16; }
    bool isHlg() const { return transfer == 18; }
};

/// CIE xy of white, red, green and blue; sRGB's of a number that has none.
[[nodiscard]] std::array<std::array<double, 2>, 4> chromaticities(int primaries);

/// The colour space of code points; invalid if they say nothing. PQ and HLG, which Qt cannot express, come as
/// an invalid space with an ICC profile that says them alone (tag cicp), for `highDynamicRange`.
[[nodiscard]] QColorSpace colourSpace(CodePoints points);

/// PQ or HLG by the tag cicp of an ICC profile (ICC.1:2022, 9.2.17); nothing for any other profile.
[[nodiscard]] std::optional<CodePoints> highDynamicRange(const QByteArray &profile);

} // namespace Colour
