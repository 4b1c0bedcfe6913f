#include "library/VistamoLoadThumbnailThread.h"

#include "library/ThumbnailDatabase.h"

#include <QBuffer>
#include <QImageReader>
#include <QtDebug>

#include <utility>

namespace {

// Answers travel together, so that the GUI thread is not woken ten thousand times a second.
constexpr int answersTogether = 64;
constexpr int longestDelayMs = 15;

/// Size of the picture in a JPEG file's header, or an empty size if there is none.
QSize sizeOfJpeg(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return QImageReader(&buffer, "jpg").size();
}

} // namespace

VistamoLoadThumbnailThread::VistamoLoadThumbnailThread(LoadNumber load, ThumbnailMaker *maker,
                                                       QObject *parent)
    : StoppableThread(parent)
    , load(load)
    , maker(maker)
{
    setObjectName(QStringLiteral("LoadThumbnail"));
}

void VistamoLoadThumbnailThread::addRequest(const QFileInfo &info, int row)
{
    const QMutexLocker locker(&mutex);
    requestList.append({info, row});
    changed.wakeOne();
}

void VistamoLoadThumbnailThread::setScrollPosition(float ratio, int files)
{
    const QMutexLocker locker(&mutex);
    scrollPositionRatio = ratio;
    fileCount = files;
}

void VistamoLoadThumbnailThread::setEnumFinished()
{
    const QMutexLocker locker(&mutex);
    enumFinished = true;
    changed.wakeOne();
}

void VistamoLoadThumbnailThread::stop()
{
    stopRequested = true;
    {
        const QMutexLocker locker(&mutex);
        changed.wakeOne();
    }
    maker->wake();
}

void VistamoLoadThumbnailThread::run()
{
    qDebug() << "VistamoLoadThumbnailThread::run()";
    setPriority(QThread::HighPriority);
    sincePublished.start();
    while (const auto request = nextRequest())
        processRequestThumbnail(*request);
    publish();
    maker->waitForLoad(load, stopRequested);
}

/// The next request in the order of service. Waits for one; nothing at the end of the load.
std::optional<TThumbnailRequest> VistamoLoadThumbnailThread::nextRequest()
{
    const QMutexLocker locker(&mutex);
    while (!stopRequested && requestList.isEmpty() && !enumFinished) {
        publish();
        changed.wait(&mutex);
    }
    if (stopRequested)
        return std::nullopt;
    return requestList.takeNext(scrollPositionRatio, fileCount);
}

void VistamoLoadThumbnailThread::processRequestThumbnail(const TThumbnailRequest &request)
{
    const TThumbnailRecord key = ThumbnailDatabase::keyOf(request.info);
    const auto stored = ThumbnailDatabase::find(key);
    const QSize size = stored ? sizeOfJpeg(stored->jpeg) : QSize();
    if (size.isEmpty() || size.width() > thumbnailSide || size.height() > thumbnailSide) {
        publish();
        using Storing = ThumbnailMaker::Storing;
        maker->make(load, request, stored ? Storing::AddBehindBroken : Storing::Add, stopRequested);
        return;
    }
    found.append({load, request.row, request.info.fileName(), key, size, true, {}, false});
    if (found.size() >= answersTogether || sincePublished.hasExpired(longestDelayMs))
        publish();
}

void VistamoLoadThumbnailThread::publish()
{
    if (!found.isEmpty())
        emit thumbnailsFound(std::exchange(found, {}));
    sincePublished.restart();
}
