#pragma once

#include "shared/threads/Guarded.h"

#include <QList>

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
        auto access = entries.lock();
        access->push_back(std::move(work));
        access.wakeOne();
    }

    /// The oldest entry, or nothing if there is none.
    [[nodiscard]] std::optional<Work> tryTake()
    {
        const auto access = entries.lock();
        if (access->empty())
            return std::nullopt;
        std::optional<Work> work(std::move(access->front()));
        access->pop_front();
        return work;
    }

    /// All entries, the oldest first.
    [[nodiscard]] QList<Work> takeAll()
    {
        const auto access = entries.lock();
        QList<Work> all;
        for (Work &work : std::exchange(*access, {}))
            all.append(std::move(work));
        return all;
    }

    /// Waits for an entry, and gives the newest and drops all others; nothing once `finish` is set and no
    /// entry is left.
    [[nodiscard]] std::optional<Work> waitForNewest(const std::atomic_bool &finish)
    {
        auto access = entries.lock();
        while (access->empty() && !finish)
            access.wait();
        if (access->empty())
            return std::nullopt;
        std::optional<Work> work(std::move(access->back()));
        access->clear();
        return work;
    }

    /// Sets the flag of a worker that waits here, and wakes it.
    void finish(std::atomic_bool &flag)
    {
        auto access = entries.lock();
        flag = true;
        access.wakeAll();
    }

private:
    Guarded<std::deque<Work>> entries;
};
