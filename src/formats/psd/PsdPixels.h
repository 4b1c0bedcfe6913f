#pragma once

#include "formats/psd/PsdPlanes.h"

namespace PsdReader {

enum class Transparency
{
    None,
    Straight,
    OnWhite, ///< the colours are already blended with white
};

/// How many channels the colours of a picture take.
int colourChannels(const Header &header);

/// Fills `image` from above until a row is not complete in every channel: the number of rows.
int fillRows(QImage &image, const Header &header, Transparency transparency, Planes &planes);

} // namespace PsdReader
