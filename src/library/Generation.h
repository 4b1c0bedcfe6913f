#pragma once

#include <QHashFunctions>

/// The number of a load of a folder. An answer of an earlier generation is late and is dropped.
struct Generation
{
    int value = 0;

    [[nodiscard]] Generation next() const { return {value + 1}; }
    friend bool operator==(Generation, Generation) = default;
};

inline size_t qHash(Generation generation, size_t seed = 0)
{
    return qHash(generation.value, seed);
}
