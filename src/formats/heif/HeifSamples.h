#pragma once

#include <QtGlobal>

namespace Heif {

/// A sample of `bits` bits spread over the 16 bits of Qt's; as it is, if they are less than 9 or 16.
[[nodiscard]] inline quint16 widened(quint16 sample, int bits)
{
    return bits < 9 || bits > 15 ? sample
                                 : static_cast<quint16>(sample << (16 - bits) | sample >> (2 * bits - 16));
}

} // namespace Heif
