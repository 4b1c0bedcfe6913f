#include "library/VistamoLoadThumbnailThread.h"

#include "library/ThumbnailDatabase.h"
#include "shared/image/ImageReading.h"

#include <QtDebug>

#include <utility>

namespace {

// Answers are sent in batches, so that the GUI thread is not woken ten thousand times a second.
constexpr int answersTogether = 64;
constexpr int longestDelayMs = 15;

} // namespace

VistamoLoadThumbnailThread::VistamoLoadThumbnailThread(Generation generation, ThumbnailMaker *maker,
                                                       QObject *parent)
    : StoppableThread(parent)
    , generation(generation)
    , maker(maker)
{
    setObjectName(QStringLiteral("LoadThumbnail"));
}

void VistamoLoadThumbnailThread::addRequest(const QFileInfo &info, int row)
{
    {
        auto access = asked.lock();
        access->requestList.append({info, row});
        access.wakeOne();
    }
    maker->wake(); // the thread may have served all others
}

QList<TThumbnailRequest> VistamoLoadThumbnailThread::takeRequests()
{
    const auto access = asked.lock();
    QList<TThumbnailRequest> requests;
    while (auto request = access->requestList.takeNext(0, 0))
        requests.append(*std::move(request));
    return requests;
}

void VistamoLoadThumbnailThread::setScrollPosition(float ratio, int files)
{
    const auto access = asked.lock();
    access->scrollPositionRatio = ratio;
    access->fileCount = files;
}

void VistamoLoadThumbnailThread::setEnumFinished()
{
    auto access = asked.lock();
    access->enumFinished = true;
    access.wakeOne();
}

void VistamoLoadThumbnailThread::stop()
{
    stopRequested = true;
    asked.lock().wakeOne();
    maker->wake();
}

void VistamoLoadThumbnailThread::run()
{
    qDebug() << "VistamoLoadThumbnailThread::run()";
    setPriority(QThread::HighPriority);
    sincePublished.start();
    const auto isWanted = [this] { return stopRequested || !asked.lock()->requestList.isEmpty(); };
    do {
        while (const auto request = nextRequest())
            processRequestThumbnail(*request);
        publish();
        maker->waitForLoad(generation, isWanted); // what comes meanwhile does not wait for a slow decode
    } while (!stopRequested && isWanted());
}

/// The next request in the order of service. Waits for one; nothing at the end of the load.
std::optional<TThumbnailRequest> VistamoLoadThumbnailThread::nextRequest()
{
    auto access = asked.lock();
    while (!stopRequested && access->requestList.isEmpty() && !access->enumFinished) {
        publish();
        access.wait();
    }
    if (stopRequested)
        return std::nullopt;
    return access->requestList.takeNext(access->scrollPositionRatio, access->fileCount);
}

void VistamoLoadThumbnailThread::processRequestThumbnail(const TThumbnailRequest &request)
{
    const TThumbnailRecord key = ThumbnailDatabase::keyOf(request.info);
    const auto full = ThumbnailDatabase::findResolution(key);
    if (!full || full->isEmpty()) {
        publish();
        maker->make(generation, request, full ? ThumbnailStoring::AddBehindBroken : ThumbnailStoring::Add,
                    stopRequested);
        return;
    }
    const QSize size = ImageReading::thumbnailSize(*full, thumbnailSide);
    found.append({generation, request.row, request.info.fileName(), key, size, true, {}, false, false});
    if (found.size() >= answersTogether || sincePublished.hasExpired(longestDelayMs))
        publish();
}

void VistamoLoadThumbnailThread::publish()
{
    if (!found.isEmpty())
        emit thumbnailsFound(std::exchange(found, {}));
    sincePublished.restart();
}
