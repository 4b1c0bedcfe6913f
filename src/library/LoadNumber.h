#pragma once

#include <QHashFunctions>

/// Which load of a folder something belongs to; what belongs to an earlier one is out of date.
struct LoadNumber
{
    int value = 0;

    [[nodiscard]] LoadNumber next() const { return {value + 1}; }
    friend bool operator==(LoadNumber, LoadNumber) = default;
};

inline size_t qHash(LoadNumber load, size_t seed = 0)
{
    return qHash(load.value, seed);
}
