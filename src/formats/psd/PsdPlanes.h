#pragma once

#include "formats/psd/PsdReader.h"

#include <QByteArray>

#include <vector>

namespace PsdReader {

/// The channels of a merged picture, one after the other, each row by row.
class Planes
{
public:
    /// Reads what the first `used` channels can need from the device, which stands before the compression.
    Planes(const Header &header, int used, QIODevice &device);

    /// False if the data cannot hold a sensible share of the picture, however well it is packed.
    bool plausible() const;

    /// The samples of a row, each with its high byte first, or nothing if the data ends before or is damaged.
    /// Valid until the next call.
    std::optional<QByteArrayView> row(int channel, int y);

private:
    void findPackedRows(int used);
    bool unpack(QByteArrayView packed);
    void undoPrediction();

    Header header;
    qsizetype rowLength;
    qsizetype needed; ///< bytes of all rows, unpacked
    quint16 compression = 0;
    QByteArray data;
    std::vector<qsizetype> packedRows; ///< where each begins, and where the last ends
    QByteArray buffer;
};

} // namespace PsdReader
