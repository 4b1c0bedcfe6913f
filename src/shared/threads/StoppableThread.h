#pragma once

#include <QDeadlineTimer>
#include <QThread>

#include <atomic>
#include <memory>

/// A worker that can be told to give up. It looks at `stopRequested` between two pieces of work.
///
/// It is owned by a `Worker`. The static functions are the ways to part with one for good; they take null for
/// none, and nothing receives its signals any more. GUI thread.
class StoppableThread : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;

    /// Tells the thread to end soon; a class whose worker sleeps wakes it here. GUI thread.
    virtual void stop() { stopRequested = true; }

    bool isStopping() const { return stopRequested; }

    /// Stops the thread and waits for it; one that does not end in time is left behind.
    static void end(std::unique_ptr<StoppableThread> thread, QDeadlineTimer deadline);

    /// Gives a thread up that does not end: it frees itself if it ever does.
    static void leaveBehind(std::unique_ptr<StoppableThread> thread);

    /// Stops the thread without waiting for it: it frees itself at its end, at the latest in `endReleased`.
    static void release(std::unique_ptr<StoppableThread> thread);
    static void endReleased(QDeadlineTimer deadline);

    /// Set once a thread that hangs was left behind. The process then ends without taking its variables
    /// apart, since that thread may come back and use them. GUI thread.
    static inline bool someLeftBehind = false;

protected:
    std::atomic_bool stopRequested = false;
};
