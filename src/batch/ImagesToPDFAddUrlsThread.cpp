#include "batch/ImagesToPDFAddUrlsThread.h"

#include "batch/BatchListItem.h"
#include "batch/FolderWalk.h"
#include "library/ThumbnailDatabase.h"
#include "library/Thumbnails.h"
#include "shared/threads/OrderedWork.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

// Each batch costs a pass over the list.
constexpr int publishAfterMs = 200;

BatchFile fileOf(const QString &path, int thumbnailSize)
{
    BatchFile file;
    file.key = ThumbnailDatabase::keyOf(QFileInfo(path));
    const FileThumbnail thumbnail = findOrMakeThumbnail(file.key, thumbnailSize, ThumbnailStoring::Add);
    file.resolution = thumbnail.resolution;
    if (!thumbnail.stored)
        file.icon = whiteSquareAround(thumbnail.image, batchIconSide);
    return file;
}

} // namespace

ImagesToPDFAddUrlsThread::ImagesToPDFAddUrlsThread(int thumbnailSize, QObject *parent)
    : StoppableThread(parent)
    , thumbnailSize(thumbnailSize)
{
    setObjectName(QStringLiteral("AddUrls"));
}

ImagesToPDFAddUrlsThread::~ImagesToPDFAddUrlsThread() = default;

void ImagesToPDFAddUrlsThread::addUrls(const QList<QUrl> &urls)
{
    for (const QUrl &url : urls)
        urlList.push(url);
}

void ImagesToPDFAddUrlsThread::run()
{
    if (stopRequested)
        return;
    setPriority(QThread::HighPriority);
    work = std::make_unique<OrderedWork<BatchFile>>(std::max(QThread::idealThreadCount(), 1));
    lastPath.clear();
    published = 0;
    sincePublished.start();
    while (const auto url = urlList.tryTake())
        addUrl(QDir::fromNativeSeparators(url->toLocalFile()));
    while (!work->isEmpty())
        take(work->takeNext());
    publish();
    work.reset();
    emit addUrlsFinish(lastPath);
}

void ImagesToPDFAddUrlsThread::addUrl(const QString &path)
{
    if (path.isEmpty() || stopRequested)
        return;
    if (!QFileInfo(path).isDir()) {
        addFile(path);
        return;
    }
    walkFolder(
        path,
        [this](const QString &file) {
            addFile(file);
            return !stopRequested;
        },
        [this] { return isStopping(); });
}

void ImagesToPDFAddUrlsThread::addFile(const QString &path)
{
    if (stopRequested || !VistamoGlobal().isImageFile(path))
        return;
    while (work->isFull() || work->isNextReady())
        take(work->takeNext());
    work->start([path, size = thumbnailSize] { return fileOf(path, size); });
}

void ImagesToPDFAddUrlsThread::take(BatchFile file)
{
    lastPath = file.key.fullPath;
    unpublished.append(std::move(file));
    if (unpublished.size() > published / 2 || sincePublished.hasExpired(publishAfterMs))
        publish();
}

void ImagesToPDFAddUrlsThread::publish()
{
    if (unpublished.isEmpty() || stopRequested)
        return;
    published += unpublished.size();
    emit filesFound(std::exchange(unpublished, {}));
    sincePublished.restart();
}
