#pragma once

#include <QByteArray>

class QIODevice;

/// The bytes of a PNG file that a reader takes whole, with the pixels that a cut or damaged one still has;
/// the others are black, transparent, or the palette's first. Empty if there are none, or if they are above
/// QImageReader's allocation limit.
[[nodiscard]] QByteArray mendedPng(QIODevice &device);
