#pragma once

#include <QString>
#include <QThreadPool>

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <memory>

/// Pieces of work that are done on several threads, with their results in the order in which the work was
/// given. For one thread, which gives the work and takes the results.
template <typename Result>
class OrderedWork
{
public:
    /// @param atOnce threads, and the most pieces in flight: for back-pressure ask `isFull`
    explicit OrderedWork(int atOnce)
        : atOnce(static_cast<size_t>(atOnce))
    {
        pool.setMaxThreadCount(atOnce);
    }

    [[nodiscard]] bool isFull() const { return pending.size() >= atOnce; }
    [[nodiscard]] bool isEmpty() const { return pending.empty(); }

    /// True if the oldest result can be taken without waiting.
    [[nodiscard]] bool isNextReady() const
    {
        return !pending.empty()
               && pending.front().wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    void start(std::function<Result()> work)
    {
        Q_ASSERT_X(!isFull(), "OrderedWork", qPrintable(QStringLiteral("%1 in flight").arg(pending.size())));
        const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
        pending.push_back(task->get_future());
        pool.start([task] { (*task)(); });
    }

    /// The oldest result, waited for. Not on an empty list.
    [[nodiscard]] Result takeNext()
    {
        Q_ASSERT_X(!isEmpty(), "OrderedWork", "nothing in flight");
        Result result = pending.front().get();
        pending.pop_front();
        return result;
    }

private:
    const size_t atOnce;
    std::deque<std::future<Result>> pending;
    QThreadPool pool; // last: its end waits for what is still being done
};
