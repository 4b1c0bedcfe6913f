#pragma once

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <optional>

class QIODevice;

/// What the markers of a JPEG file say before any of its picture is decoded.
namespace JpegMarkers {

/// Memory that the decoder takes for the coefficients of the whole picture, two bytes each, where they come
/// in more than one scan: in a progressive picture, or if the colours stand one after the other. 0 if it
/// decodes row by row, nothing if there is no picture. Reads the file up to its first scan.
[[nodiscard]] std::optional<qint64> coefficientBytes(QIODevice &file);

/// Where the scans end, up to `most` of them, for as long as what follows looks like a part of the file.
[[nodiscard]] QList<qint64> scanEnds(QIODevice &file, qsizetype most);

/// The first `end` bytes of a file as a file that is complete.
[[nodiscard]] QByteArray cutAt(QIODevice &file, qint64 end);

/// A file that is whole, up to the end of its picture, less comments, previews and all that applications add
/// but for what says how the colours are stored. Empty if it has no end.
[[nodiscard]] QByteArray withoutMetadata(QByteArray file);

} // namespace JpegMarkers
