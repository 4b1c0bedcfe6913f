#pragma once

#include "formats/psd/PsdReader.h"

namespace PsdReader {

enum class Transparency
{
    None,
    Straight, ///< the channel after the colours is their alpha
    OnWhite,  ///< so too, but the colours are already blended with white
};

/// Whether the colours come in linear light, those of Lab as linear sRGB.
[[nodiscard]] inline bool isLinear(const Header &header)
{
    return header.depth == 32 || header.mode == Mode::Lab;
}

/// Fills `image` from above with the merged picture, whose compression is what comes next from the device,
/// and `black`, if it is not null, with what black ink leaves of its white. Ends before a row that is not
/// there in every channel: the number of rows.
[[nodiscard]] int readRows(QImage &image, QImage &black, const Header &header, Transparency transparency,
                           QIODevice &device);

} // namespace PsdReader
