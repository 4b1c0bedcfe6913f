#pragma once

#include <QtGlobal>

/// The most that one file may hold: a file made to keep us busy is refused.
namespace Heif {

constexpr int mostBoxes = 100000; // a few for each item
constexpr quint64 mostItems = 20000;
constexpr quint64 mostPlaces = 64; // of one item
constexpr int mostParts = 10000;   // of all pictures, with the parts of their parts

} // namespace Heif
