#include "viewer/VistamoLoadImageThread.h"

#include "shared/image/ImageReading.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype mostWaiting = 10;
// Each may hold a picture in full until its turn comes.
constexpr int mostAtOnce = 4;

QPixmap prefetchedOrDecoded(const ImageRequest &request)
{
    const auto decode = [&] { return QPixmap::fromImage(ImageReading::read(request.path)); };
    const QFileInfo file(request.path);
    if (request.prefetched && request.isSameFile({request.path, file.size(), file.lastModified()}))
        return request.prefetched->get(decode);
    return decode();
}

} // namespace

QPixmap DecodedOnce::get(const std::function<QPixmap()> &decode)
{
    std::call_once(once, [&] { pixmap = decode(); });
    return pixmap;
}

QPixmap pictureOf(const ImageRequest &request)
{
    const auto decode = [&] { return prefetchedOrDecoded(request); };
    return request.shared ? request.shared->get(decode) : decode();
}

VistamoLoadImageThread::VistamoLoadImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("LoadImage"));
    helpers.setMaxThreadCount(std::clamp(idealThreadCount(), 1, mostAtOnce) - 1);
}

void VistamoLoadImageThread::addFile(const ImageRequest &request)
{
    auto access = asked.lock();
    if (access->fileNameList.size() >= mostWaiting)
        access->fileNameList.removeLast();
    access->fileNameList.append(request);
    if (!access->inFlight.isEmpty())
        startHelper();
    access.wakeAll();
}

QList<ImageRequest> VistamoLoadImageThread::takeWaiting()
{
    const auto access = asked.lock();
    return access->inFlight.mid(1) + std::exchange(access->fileNameList, {});
}

bool VistamoLoadImageThread::hangs() const
{
    const auto access = asked.lock();
    return !access->inFlight.isEmpty() && access->sinceLastGiven.elapsed() >= deadAfterMs;
}

void VistamoLoadImageThread::stop()
{
    StoppableThread::stop();
    // Under the lock: a thread between its look at the flag and its wait must not miss this.
    asked.lock().wakeAll();
}

void VistamoLoadImageThread::run()
{
    decodeInTurn();
    helpers.waitForDone();
}

/// Lets one more thread decode, unless all are busy.
void VistamoLoadImageThread::startHelper()
{
    helpers.tryStart([this] { decodeInTurn(); });
}

/// Decodes what is asked for, on several threads, each of which waits for its turn to give its picture.
void VistamoLoadImageThread::decodeInTurn()
{
    qint64 turn = 0;
    while (const auto request = takeNext(turn)) {
        const QPixmap pixmap = pictureOf(*request);
        auto access = asked.lock();
        while (turn != access->given && !stopRequested)
            access.wait();
        // A thread that was left behind may come to here after the program's windows are gone.
        if (stopRequested)
            return;
        emit imageLoaded(pixmap);
        access->inFlight.removeFirst();
        ++access->given;
        access->sinceLastGiven.start();
        access.wakeAll();
    }
}

/// The oldest request and its turn. Waits for one while a picture is in flight; then nothing.
std::optional<ImageRequest> VistamoLoadImageThread::takeNext(qint64 &turn)
{
    auto access = asked.lock();
    while (access->fileNameList.isEmpty() && !access->inFlight.isEmpty() && !stopRequested)
        access.wait();
    if (access->fileNameList.isEmpty() || stopRequested)
        return std::nullopt;
    if (access->inFlight.isEmpty())
        access->sinceLastGiven.start();
    turn = access->given + access->inFlight.size();
    access->inFlight.append(access->fileNameList.takeFirst());
    const ImageRequest request = access->inFlight.last();
    if (!access->fileNameList.isEmpty())
        startHelper();
    return request;
}
