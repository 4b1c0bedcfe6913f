#pragma once

#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>

/// A value that threads share. It can be reached only with its lock held, and waited on for a change.
template <typename Value>
class Guarded
{
public:
    /// Holds the lock as long as it lives.
    class Access
    {
    public:
        explicit Access(Guarded &guarded)
            : guarded(guarded)
            , locker(&guarded.mutex)
        {
        }

        Value *operator->() const { return &guarded.value; }
        Value &operator*() const { return guarded.value; }

        /// Gives the lock up until somebody wakes this thread. False once the deadline has passed.
        bool wait(QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever))
        {
            return guarded.changed.wait(&guarded.mutex, deadline);
        }
        void wakeOne() { guarded.changed.wakeOne(); }
        void wakeAll() { guarded.changed.wakeAll(); }

    private:
        Guarded &guarded;
        const QMutexLocker<QMutex> locker;
    };

    [[nodiscard]] Access lock() { return Access(*this); }

private:
    QMutex mutex;
    QWaitCondition changed;
    Value value{};
};
