#pragma once

#include "shared/threads/StoppableThread.h"

#include <QObject>

#include <functional>
#include <memory>
#include <utility>

/// The one-shot thread that does an object's work off the GUI thread: its start, its end, its stop, and the
/// parting from one that hangs. GUI thread.
///
/// Nothing of a thread that was parted with arrives any more, not even signals in flight.
template <typename Thread>
class Worker
{
public:
    Worker() = default;
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    ~Worker() { release(); }

    bool isActive() const { return thread != nullptr; }
    bool isStopping() const { return thread && thread->isStopping(); }
    Thread *get() const { return thread.get(); }
    Thread *operator->() const
    {
        Q_ASSERT_X(thread, "Worker", "no thread is set");
        return thread.get();
    }

    /// Takes a thread to be started by `start`; an earlier one is released.
    void set(std::unique_ptr<Thread> next)
    {
        release();
        thread = std::move(next);
        QObject::connect(thread.get(), &QThread::finished, &receiver, [this, sender = generation] {
            if (sender == generation)
                finish();
        });
    }

    /// Calls `slot` with what the present thread says by `signal`, on the GUI thread.
    template <typename Signal, typename Slot>
    void on(Signal signal, Slot slot)
    {
        const auto guarded = [this, slot, sender = generation](auto &&...values) {
            if (sender == generation)
                slot(std::forward<decltype(values)>(values)...);
        };
        QObject::connect(thread.get(), signal, &receiver, guarded);
    }

    /// Starts the thread. At its end `handOver` is called with it: a new one may be set by then, and can be
    /// given what arrived too late for this one.
    void start(QThread::Priority priority, std::function<void(Thread &)> handOver = nullptr)
    {
        Q_ASSERT_X(thread, "Worker", "no thread is set");
        ended = std::move(handOver);
        thread->start(priority);
    }

    /// Tells the thread to end soon; its end is reported as any other.
    void stop()
    {
        if (thread)
            thread->stop();
    }

    /// The ways to part with the thread for good: see `StoppableThread`.
    void end(QDeadlineTimer deadline) { StoppableThread::end(part(), deadline); }
    void leaveBehind() { StoppableThread::leaveBehind(part()); }
    void release() { StoppableThread::release(part()); }

    /// Gives the thread away; the worker is free for another.
    std::unique_ptr<Thread> part()
    {
        ++generation;
        ended = nullptr;
        return std::exchange(thread, nullptr);
    }

private:
    void finish()
    {
        const auto handOver = ended;
        const std::unique_ptr<Thread> done = part();
        if (handOver)
            handOver(*done);
    }

    QObject receiver; ///< lives on the GUI thread, and takes the connections along
    std::unique_ptr<Thread> thread;
    quint64 generation = 0; ///< of the present thread; what an earlier one sent is dropped
    std::function<void(Thread &)> ended;
};
