#pragma once

#include <QThread>

#include <atomic>

/// A worker that can be told to give up. It looks at `stopRequested` between two pieces of work.
class StoppableThread : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;

    /// Tells the thread to end soon; a class whose worker sleeps wakes it here. GUI thread.
    virtual void stop() { stopRequested = true; }

    bool isStopping() const { return stopRequested; }

    /// Set once a thread that hangs was left behind. The process then ends without taking its variables
    /// apart, since that thread may come back and use them. GUI thread.
    static inline bool someLeftBehind = false;

protected:
    std::atomic_bool stopRequested = false;
};
