#pragma once

#include <QPointF>
#include <QSize>
#include <QSizeF>

#include <map>
#include <optional>
#include <vector>

class QIODevice;

namespace Heif {

/// One step on the way from a picture as it is coded to what is shown.
struct Turn
{
    enum Kind
    {
        Quarters, ///< anticlockwise, so many
        Mirror,   ///< 0: from top to bottom, 1: from left to right
        Crop      ///< to the aperture
    };
    Kind kind;
    int value = 0;
    QSizeF aperture = {}; ///< pixels
    QPointF offset = {};  ///< pixels, of its centre from that of the picture

    bool operator==(const Turn &other) const = default;
};

/// What is to be known of a file's pictures before one is decoded.
struct PictureItems
{
    QSize largest;                              ///< pixels, of all that are coded or put together
    std::map<quint32, std::vector<Turn>> turns; ///< by the items that have any, in their order
};

/// Nothing if the file is broken, or if decoding it would never end or cost out of all proportion to the
/// sizes that it tells: pictures made of one another or of too many parts. libheif before 1.19 takes such
/// files on, and none tells how its pictures are turned. Reads from `start`, leaves the device's position
/// anywhere.
[[nodiscard]] std::optional<PictureItems> pictureItems(QIODevice &device, qint64 start);

} // namespace Heif
