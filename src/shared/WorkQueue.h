#pragma once

#include <QMutex>

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
    }

    /// Adds `work`, in place of the newest entry once `limit` entries are waiting.
    void pushReplacingNewest(Work work, size_t limit)
    {
        const QMutexLocker locker(&mutex);
        if (entries.size() >= limit)
            entries.pop_back();
        entries.push_back(std::move(work));
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

private:
    QMutex mutex;
    std::deque<Work> entries;
};
