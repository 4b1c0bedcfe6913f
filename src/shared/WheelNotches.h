#pragma once

#include <cstdlib>

/// Adds up the turns of a wheel, or of fingers on a touchpad, that are finer than a notch.
class WheelNotches
{
public:
    static constexpr int notch = 120; ///< eighths of a degree

    /// The step that is done with this turn: 1 away from the user, -1 towards him, mostly 0. A turn of a
    /// notch or more is one step, however fast it was.
    [[nodiscard]] int add(int turn)
    {
        const bool isWhole = std::abs(turn) >= notch;
        if (isWhole || (turn > 0) != (sum > 0))
            sum = 0;
        sum += isWhole ? 0 : turn;
        if (!isWhole && std::abs(sum) < notch)
            return 0;
        const int step = turn > 0 ? 1 : -1;
        sum -= isWhole ? 0 : step * notch;
        return step;
    }

private:
    int sum = 0;
};
