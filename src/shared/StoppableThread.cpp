#include "shared/StoppableThread.h"

#include <QList>
#include <QPointer>

#include <utility>

namespace {

QList<QPointer<StoppableThread>> released;

} // namespace

void StoppableThread::end(StoppableThread *thread, QDeadlineTimer deadline)
{
    if (!thread)
        return;
    thread->stop();
    if (thread->wait(deadline))
        delete thread;
    else
        leaveBehind(thread);
}

void StoppableThread::leaveBehind(StoppableThread *thread, const QObject *receiver)
{
    someLeftBehind = true;
    thread->stop();
    if (receiver)
        thread->disconnect(receiver);
    thread->setParent(nullptr);
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
}

void StoppableThread::release(StoppableThread *thread, const QObject *receiver)
{
    if (!thread)
        return;
    thread->stop();
    thread->disconnect(receiver);
    thread->setParent(nullptr);
    if (thread->isFinished()) {
        delete thread;
        return;
    }
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    released.removeAll(nullptr);
    released.append(thread);
}

void StoppableThread::endReleased(QDeadlineTimer deadline)
{
    for (const QPointer<StoppableThread> &thread : std::exchange(released, {}))
        end(thread, deadline);
}
