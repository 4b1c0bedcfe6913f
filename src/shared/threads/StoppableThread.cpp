#include "shared/threads/StoppableThread.h"

#include <QList>
#include <QPointer>

#include <utility>

namespace {

QList<QPointer<StoppableThread>> released;

/// Lets go of a thread that has been told to stop.
StoppableThread *freedAtItsEnd(std::unique_ptr<StoppableThread> thread)
{
    QObject::connect(thread.get(), &QThread::finished, thread.get(), &QObject::deleteLater);
    return thread.release();
}

} // namespace

void StoppableThread::end(std::unique_ptr<StoppableThread> thread, QDeadlineTimer deadline)
{
    if (!thread)
        return;
    thread->stop();
    thread->disconnect();
    if (!thread->wait(deadline))
        leaveBehind(std::move(thread));
}

void StoppableThread::leaveBehind(std::unique_ptr<StoppableThread> thread)
{
    if (!thread)
        return;
    someLeftBehind = true;
    thread->stop();
    thread->disconnect();
    freedAtItsEnd(std::move(thread));
}

void StoppableThread::release(std::unique_ptr<StoppableThread> thread)
{
    if (!thread)
        return;
    thread->stop();
    thread->disconnect();
    if (thread->isFinished())
        return;
    // One may have ended before it was to free itself.
    for (const QPointer<StoppableThread> &earlier : std::as_const(released))
        if (earlier && earlier->isFinished())
            delete earlier;
    released.removeIf([](const QPointer<StoppableThread> &earlier) { return earlier.isNull(); });
    released.append(freedAtItsEnd(std::move(thread)));
}

void StoppableThread::endReleased(QDeadlineTimer deadline)
{
    for (const QPointer<StoppableThread> &thread : std::exchange(released, {}))
        end(std::unique_ptr<StoppableThread>(thread.data()), deadline);
}
