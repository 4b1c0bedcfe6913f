#pragma once

#include <array>

/// Linear sRGB, 0 to 1 and beyond, of CIE L*a*b* with D50 white, by Bradford's adaptation to D65.
[[nodiscard]] inline std::array<float, 3> linearSrgbOfLab(float lightness, float a, float b)
{
    const auto inverse = [](float t) { return t > 6.0F / 29 ? t * t * t : (t - 4.0F / 29) * 108 / 841; };
    const float fy = (lightness + 16) / 116;
    const float x = 0.9642F * inverse(fy + a / 500);
    const float y = inverse(fy);
    const float z = 0.8249F * inverse(fy - b / 200);
    return {3.1339F * x - 1.6169F * y - 0.4906F * z, -0.9788F * x + 1.9161F * y + 0.0335F * z,
            0.0719F * x - 0.2290F * y + 1.4052F * z};
}
