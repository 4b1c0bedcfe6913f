#include "viewer/VistamoLoadImageThread.h"

#include "shared/ImageReading.h"

#include <QFileInfo>
#include <QThreadPool>

#include <utility>

namespace {

constexpr qsizetype mostWaiting = 10;
// Longer than a picture waits for memory.
constexpr qint64 deadAfterMs = 30000;

QPixmap decode(const QString &path)
{
    return QPixmap::fromImage(ImageReading::read(path));
}

QPixmap picture(const ImageRequest &request)
{
    const QFileInfo file(request.path);
    if (request.decoded && request.isSameFile({request.path, file.size(), file.lastModified()}))
        return request.decoded->get(request.path);
    return decode(request.path);
}

} // namespace

QPixmap DecodedOnce::get(const QString &path)
{
    std::call_once(once, [&] { pixmap = decode(path); });
    return pixmap;
}

VistamoLoadImageThread::VistamoLoadImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("LoadImage"));
}

void VistamoLoadImageThread::addFile(const ImageRequest &request)
{
    const QMutexLocker locker(&mutex);
    if (fileNameList.size() >= mostWaiting)
        fileNameList.removeLast();
    fileNameList.append(request);
    changed.wakeAll();
}

QList<ImageRequest> VistamoLoadImageThread::takeWaiting()
{
    const QMutexLocker locker(&mutex);
    return std::exchange(fileNameList, {});
}

bool VistamoLoadImageThread::hangs() const
{
    const QMutexLocker locker(&mutex);
    return taken > given && sinceLastGiven.hasExpired(deadAfterMs);
}

void VistamoLoadImageThread::stop()
{
    StoppableThread::stop();
    // Under the lock: a thread between its look at the flag and its wait must not miss this.
    const QMutexLocker locker(&mutex);
    changed.wakeAll();
}

void VistamoLoadImageThread::run()
{
    QThreadPool others; // its end waits for them
    for (int i = 1; i < idealThreadCount(); ++i)
        others.start([this] { decodeInTurn(); });
    decodeInTurn();
}

/// Decodes what is asked for, on any number of threads, each of which waits for its turn to give its picture.
void VistamoLoadImageThread::decodeInTurn()
{
    qint64 turn = 0;
    while (const auto request = takeNext(turn)) {
        const QPixmap pixmap = picture(*request);
        const QMutexLocker locker(&mutex);
        while (turn != given && !stopRequested)
            changed.wait(&mutex);
        // A thread that was left behind may come to here after the program's windows are gone.
        if (stopRequested)
            return;
        emit imageLoaded(pixmap);
        ++given;
        sinceLastGiven.start();
        changed.wakeAll();
    }
}

/// The oldest request and its turn. Waits for one as long as a picture is in hand somewhere; then nothing.
std::optional<ImageRequest> VistamoLoadImageThread::takeNext(qint64 &turn)
{
    const QMutexLocker locker(&mutex);
    while (fileNameList.isEmpty() && taken > given && !stopRequested)
        changed.wait(&mutex);
    if (fileNameList.isEmpty() || stopRequested)
        return std::nullopt;
    if (taken == given)
        sinceLastGiven.start();
    turn = taken++;
    return fileNameList.takeFirst();
}
