#include "viewer/Exports.h"

#include "shared/platform/Platform.h"

#include <QElapsedTimer>

#include <algorithm>
#include <deque>

namespace {

constexpr int looks = 30; ///< at an export, until it is taken to hang
// Of processor time, until a process is not idle: looking takes far less.
constexpr qint64 busyMs = 20;

} // namespace

Exports::Exports()
{
    *receiver->lock() = this;
    writers.push_back(std::make_unique<Writer>());
    connect(&hangTimer, &QTimer::timeout, this, &Exports::passHanging);
    connect(&hangTimer, &QTimer::timeout, this, &Exports::tellWork);
}

Exports::~Exports()
{
    finish();
    *receiver->lock() = nullptr;
}

void Exports::add(const QPixmap &picture, const QString &path, const QString &source)
{
    write({picture, path, source});
}

void Exports::add(const std::function<QImage()> &picture, const QString &path, const QString &source,
                  bool isTurned)
{
    write({{}, path, source, picture, isTurned});
}

void Exports::make(const std::function<QImage()> &picture)
{
    const auto tell = [receiver = receiver, picture, number = ++lastMade] {
        const QImage image = picture();
        const auto access = receiver->lock();
        if (Exports *const exports = *access) {
            const auto tellIfNewest = [exports, number, image] {
                if (number == exports->lastMade)
                    emit exports->made(image);
            };
            QMetaObject::invokeMethod(exports, tellIfNewest, Qt::QueuedConnection);
        }
        return QImage(); // nothing is written
    };
    add(tell, {}, {});
}

bool Exports::saveImageThreadRunning() const
{
    return std::any_of(writers.cbegin(), writers.cend(),
                       [](const auto &writer) { return writer->isActive(); });
}

/// Lets the later of two pictures for one file wait for the other, even if that hangs.
void Exports::write(const TSaveImageRequest &request)
{
    const auto isWriting = [&](const auto &writer) {
        return writer->isActive() && (*writer)->isWriting(request.fileName);
    };
    const auto same = std::find_if(writers.begin(), writers.end(), isWriting);
    write({request}, same != writers.end() ? **same : *writers.back());
}

/// Hands requests to a writer's thread, or to a new one.
void Exports::write(const QList<TSaveImageRequest> &requests, Writer &writer)
{
    using Thread = VistamoSaveImageThread;
    const bool running = writer.isActive();
    if (!running)
        writer.set(std::make_unique<Thread>());
    for (const TSaveImageRequest &request : requests)
        writer->addRequest(request);
    if (running)
        return;
    hangTimer.start(static_cast<int>(Thread::deadAfterMs / looks));
    writer.start(QThread::InheritPriority, [this, &writer](Thread &ended) {
        // What was asked for while the thread was ending is written all the same.
        if (const auto waiting = ended.takeWaiting(); !waiting.isEmpty()) {
            write(waiting, writer);
        } else if (!saveImageThreadRunning()) {
            hangTimer.stop();
            emit finished();
        }
    });
}

/// Goes on behind an export that hangs. It is finished if its drive ever comes back.
void Exports::passHanging()
{
    Writer &writer = *writers.back();
    if (!writer.isActive() || !writer->hangs())
        return;
    const QList<TSaveImageRequest> others = writer->takeOthers();
    std::erase_if(writers, [](const auto &earlier) { return !earlier->isActive(); });
    writers.push_back(std::make_unique<Writer>());
    if (!others.isEmpty())
        write(others, *writers.back());
}

void Exports::tellWork()
{
    qsizetype left = 0;
    for (const auto &writer : writers)
        left += writer->isActive() ? (*writer)->left() : 0;
    emit working(left);
}

void Exports::finish()
{
    hangTimer.stop();
    QElapsedTimer idle;
    idle.start();
    qint64 used = Platform::processorTime();
    std::deque<std::unique_ptr<VistamoSaveImageThread>> threads;
    for (const auto &writer : writers) {
        if (auto thread = writer->part())
            threads.push_back(std::move(thread));
    }
    while (!threads.empty()) {
        VistamoSaveImageThread &thread = *threads.front();
        thread.start(); // for what was asked for while it was ending
        if (thread.wait(QDeadlineTimer(VistamoSaveImageThread::deadAfterMs / looks))) {
            if (thread.isDone())
                threads.pop_front();
            continue;
        }
        // An encoder makes no step for minutes, on any thread, but keeps the processors busy.
        if (const qint64 now = Platform::processorTime(); now - used >= busyMs) {
            used = now;
            idle.start();
        }
        if (!thread.hangs() || !idle.hasExpired(VistamoSaveImageThread::deadAfterMs))
            continue;
        threads.push_back(std::make_unique<VistamoSaveImageThread>());
        for (const TSaveImageRequest &other : thread.takeOthers())
            threads.back()->addRequest(other);
        StoppableThread::leaveBehind(std::move(threads.front()));
        threads.pop_front();
    }
}
