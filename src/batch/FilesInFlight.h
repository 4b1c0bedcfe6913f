#pragma once

#include "shared/platform/PathIdentity.h"
#include "shared/threads/Guarded.h"

#include <QSet>
#include <QString>
#include <QThreadPool>

#include <functional>

/// Does work on files on several threads as if it were done in order: two pieces that share a file never run
/// in parallel. For one thread, which gives the work.
class FilesInFlight
{
public:
    /// @param atOnce threads
    explicit FilesInFlight(int atOnce) { pool.setMaxThreadCount(atOnce); }

    /// Back-pressure: waits until a thread is free and none of the files is in flight. Two paths that differ
    /// in case only, or by links, count as one file.
    void waitFor(const QStringList &files);

    /// Starts the work on the files of the last `waitFor`.
    void start(std::function<void()> work);

private:
    using Names = QSet<ResolvedCaselessPath>;
    struct InFlight
    {
        Names files;
        int running = 0;

        [[nodiscard]] bool isFreeFor(const Names &next, int atOnce) const
        {
            return running < atOnce && !files.intersects(next);
        }
    };

    Names next; ///< what was waited for last
    Guarded<InFlight> inFlight;
    QThreadPool pool; // last: its end waits for what is still being done
};
