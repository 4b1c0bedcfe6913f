#pragma once

#include "shared/image/ColourCodePoints.h"

#include <QImage>

namespace Colour {

/// A picture of high dynamic range, in PQ or HLG, as 16-bit sRGB.
///
/// PQ is undone to cd/m2 (SMPTE ST 2084; ITU-R BT.2100, table 4). HLG is undone to light at the scene, and
/// brought to that of a screen of 1000 cd/m2, whose black is 0.005, by the system gamma of 1.2 (BT.2100,
/// table 5). From there, or from the peak of a picture in PQ, the luminance is compressed by ITU-R BT.2446,
/// method A, to a screen whose white is 203 cd/m2 (BT.2408: the white of such pictures) and whose black is a
/// thousandth of it (BT.1886). Colours turn paler as in that method, but in light rather than in its root,
/// and bright ones of PQ are mixed with what the curve makes of each channel, so that highlights turn white.
/// By how much is fitted to libplacebo 4.208. What lies beyond the gamut of sRGB is cut off. A picture in PQ
/// that is no brighter than the white keeps its light.
[[nodiscard]] QImage toneMapped(QImage image, CodePoints points);

} // namespace Colour
