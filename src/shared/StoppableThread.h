#pragma once

#include <QDeadlineTimer>
#include <QThread>

#include <atomic>

/// A worker that can be told to give up. It looks at `stopRequested` between two pieces of work.
///
/// The static functions are the ways to part with one; they take null for none. GUI thread.
class StoppableThread : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;

    /// Tells the thread to end soon; a class whose worker sleeps wakes it here. GUI thread.
    virtual void stop() { stopRequested = true; }

    bool isStopping() const { return stopRequested; }

    /// Stops the thread, waits for it and deletes it; one that does not end in time is left behind.
    static void end(StoppableThread *thread, QDeadlineTimer deadline);

    /// Gives a thread up that does not end: `receiver` hears of it no more, and it frees itself at its end.
    static void leaveBehind(StoppableThread *thread, const QObject *receiver = nullptr);

    /// Stops the thread without waiting for it: `receiver` hears of it no more, and it frees itself at its
    /// end, at the latest in `endReleased`.
    static void release(StoppableThread *thread, const QObject *receiver);
    static void endReleased(QDeadlineTimer deadline);

    /// Set once a thread that hangs was left behind. The process then ends without taking its variables
    /// apart, since that thread may come back and use them. GUI thread.
    static inline bool someLeftBehind = false;

protected:
    std::atomic_bool stopRequested = false;
};
