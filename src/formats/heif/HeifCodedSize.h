#pragma once

#include <QByteArray>
#include <QSize>

#include <functional>

/// The largest picture, in pixels, that coded data says it holds; empty if it says none. The decoder
/// allocates for that, whatever the container says.
namespace Heif {

/// Bytes of a stream from a position on, fewer than asked for at its end.
using ReadAt = std::function<QByteArray(qint64 position, qint64 length)>;

/// Of the contents of an hvcC box.
[[nodiscard]] QSize hevcConfigurationSize(const QByteArray &configuration);

/// Of a stream of `length` bytes with NAL units behind their lengths. Takes the units it passes off `units`,
/// and stops where none are left.
[[nodiscard]] QSize hevcStreamSize(const ReadAt &read, qint64 length, int &units);

/// The same of a stream of AV1.
[[nodiscard]] QSize av1StreamSize(const ReadAt &read, qint64 length, int &units);

/// The one with the larger area.
[[nodiscard]] QSize larger(QSize one, QSize other);

} // namespace Heif
