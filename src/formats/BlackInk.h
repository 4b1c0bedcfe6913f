#pragma once

#include <QtGlobal>

#include <limits>

/// What black ink leaves of a colour, where it leaves `paper` of white. In all three, 0 is the darkest.
template <typename Sample>
[[nodiscard]] constexpr Sample underBlack(Sample colour, Sample paper)
{
    return static_cast<Sample>(quint32(colour) * paper / std::numeric_limits<Sample>::max());
}
