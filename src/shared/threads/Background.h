#pragma once

#include <QImage>
#include <QPixmap>
#include <QThreadPool>

#include <future>
#include <memory>
#include <type_traits>
#include <utility>

/// Small pieces of work off the GUI thread, in Qt's own pool. The end of the program waits for them.
namespace Background {

/// Does `work()`.
template <typename Work>
void run(Work work)
{
    QThreadPool::globalInstance()->start(std::move(work));
}

/// The result of `work()`. Unlike that of std::async, it can be dropped without a wait.
template <typename Work>
auto result(Work work)
{
    using Result = decltype(work());
    const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
    QThreadPool::globalInstance()->start([task] { (*task)(); });
    return task->get_future();
}

/// Frees what takes the system a while to take back, as the pixels of a large picture do. No pixmap: a piece
/// of work may end after the application's object.
template <typename Value>
requires(!std::is_lvalue_reference_v<Value>) void free(Value &&value)
{
    QThreadPool::globalInstance()->start([freed = std::forward<Value>(value)] {});
}

/// The same for the pixels of a pixmap that nobody else shows any more.
inline void free(QPixmap &&pixmap)
{
    QImage pixels = pixmap.toImage();
    pixmap = QPixmap();
    free(std::move(pixels));
}

} // namespace Background
