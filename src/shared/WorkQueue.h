#pragma once

#include <QList>
#include <QMutex>
#include <QWaitCondition>

#include <atomic>
#include <deque>
#include <optional>
#include <utility>

/// A list of work between the GUI thread and one worker, first in first out.
template <typename Work>
class WorkQueue
{
public:
    void push(Work work)
    {
        const QMutexLocker locker(&mutex);
        entries.push_back(std::move(work));
        changed.wakeOne();
    }

    /// The oldest entry, or nothing if there is none.
    std::optional<Work> tryTake()
    {
        const QMutexLocker locker(&mutex);
        if (entries.empty())
            return std::nullopt;
        std::optional<Work> work(std::move(entries.front()));
        entries.pop_front();
        return work;
    }

    /// All entries, the oldest first.
    [[nodiscard]] QList<Work> takeAll()
    {
        const QMutexLocker locker(&mutex);
        QList<Work> all;
        for (Work &work : std::exchange(entries, {}))
            all.append(std::move(work));
        return all;
    }

    /// Waits for an entry, and gives the newest and drops all others; nothing once `finish` is set and no
    /// entry is left.
    std::optional<Work> waitForNewest(const std::atomic_bool &finish)
    {
        const QMutexLocker locker(&mutex);
        while (entries.empty() && !finish)
            changed.wait(&mutex);
        if (entries.empty())
            return std::nullopt;
        std::optional<Work> work(std::move(entries.back()));
        entries.clear();
        return work;
    }

    /// Sets the flag of a worker that waits here, and wakes it.
    void finish(std::atomic_bool &flag)
    {
        const QMutexLocker locker(&mutex);
        flag = true;
        changed.wakeAll();
    }

private:
    QMutex mutex;
    QWaitCondition changed;
    std::deque<Work> entries;
};
