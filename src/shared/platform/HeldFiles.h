#pragma once

#include <atomic>
#include <functional>

/// The files that other programs have open, as virus scanners and indexers do with what is new: on Windows
/// such a file can be neither replaced, renamed nor removed until they let go of it. One run of file
/// operations, of however many files, has one of these. Any thread, for several at once.
class HeldFiles
{
public:
    /// What has become of an operation on a file.
    enum class Outcome
    {
        Done,
        Held,  ///< not done, and may be in a moment
        Failed ///< not done
    };

    /// @param mostMs the time that is waited, in all
    explicit HeldFiles(int mostMs = 1000)
        : msLeft(mostMs)
    {
    }

    /// Tries an operation again while a file is held and time is left. True if it was done in the end. On the
    /// GUI thread nothing is waited for.
    [[nodiscard]] bool tryAgain(const std::function<Outcome()> &operation);

    /// The time that is left to wait, milliseconds; less than before as soon as something is waited for.
    [[nodiscard]] int leftMs() const { return msLeft; }

private:
    [[nodiscard]] bool wait();

    std::atomic<int> msLeft;
};
