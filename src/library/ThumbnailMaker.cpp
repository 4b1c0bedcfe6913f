#include "library/ThumbnailMaker.h"

#include "library/ThumbnailDatabase.h"
#include "shared/ImageReading.h"

#include <QBuffer>
#include <QDeadlineTimer>
#include <QImage>
#include <QThread>

#include <algorithm>

namespace {

constexpr int mostThreads = 256;
// Fast compression: the bytes are kept in memory only.
constexpr int pngQuality = 80;

bool isTransparent(const QImage &image)
{
    if (!image.hasAlphaChannel())
        return false;
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < pixels.height(); ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(pixels.constScanLine(y));
        if (std::any_of(line, line + pixels.width(), [](QRgb pixel) { return qAlpha(pixel) < 255; }))
            return true;
    }
    return false;
}

QByteArray encodedAsPng(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG", pngQuality);
    return bytes;
}

/// What becomes of a thumbnail in the database. The oldest row of a key wins, so a row that is added behind a
/// broken one is never read.
enum class Storing
{
    Add,
    AddBehindBroken,
    Leave
};

/// Reads the file, stores its thumbnail, and keeps the encoded bytes where the database would not give the
/// same picture back.
ThumbnailAnswer makeThumbnail(int load, const TThumbnailRequest &request, Storing storing)
{
    const QFileInfo &info = request.info;
    ThumbnailAnswer answer;
    answer.load = load;
    answer.row = request.row;
    answer.fullPath = info.filePath();
    const ImageReading::Thumbnail thumbnail = ImageReading::readThumbnail(answer.fullPath, thumbnailSide);
    answer.size = thumbnail.image.size();
    if (thumbnail.image.isNull())
        return answer;

    TThumbnailRecord record;
    record.fullPath = answer.fullPath;
    record.resolution =
        QStringLiteral("%1x%2").arg(thumbnail.fullSize.width()).arg(thumbnail.fullSize.height());
    record.size = info.size();
    record.creationTime = ThumbnailDatabase::keyTime(info);
    const QByteArray jpeg = VistamoGlobal().imageToByteArray(thumbnail.image);
    const bool added = storing != Storing::Leave && ThumbnailDatabase::add(record, jpeg);

    if (isTransparent(thumbnail.image))
        answer.encoded = encodedAsPng(thumbnail.image);
    else if (added && storing == Storing::Add)
        answer.stored = true;
    else
        answer.encoded = jpeg;
    return answer;
}

} // namespace

ThumbnailMaker::ThumbnailMaker(QObject *parent)
    : QObject(parent)
    , processors(std::max(QThread::idealThreadCount(), 1))
{
    pool.setMaxThreadCount(mostThreads);
    againPool.setMaxThreadCount(processors);
    pool.setObjectName(QStringLiteral("ThumbnailMaker"));
    againPool.setObjectName(QStringLiteral("ThumbnailMakerAgain"));
}

ThumbnailMaker::~ThumbnailMaker()
{
    againPool.clear();
    againPool.waitForDone();
    pool.waitForDone();
}

bool ThumbnailMaker::make(int load, const TThumbnailRequest &request, bool storedIsBroken,
                          const std::atomic_bool &stopped)
{
    {
        QMutexLocker locker(&mutex);
        while (!stopped && !mayStart(load))
            changed.wait(&mutex);
        if (stopped)
            return false;
        ++inHand[load];
        ++allInHand;
    }
    const Storing storing = storedIsBroken ? Storing::AddBehindBroken : Storing::Add;
    pool.start([this, load, request, storing] {
        emit made(makeThumbnail(load, request, storing));
        release(load);
    });
    return true;
}

void ThumbnailMaker::makeAgain(int load, const TThumbnailRequest &request, bool stored)
{
    const Storing storing = stored ? Storing::AddBehindBroken : Storing::Leave;
    againPool.start([this, load, request, storing] { emit made(makeThumbnail(load, request, storing)); });
}

void ThumbnailMaker::waitForLoad(int load, const std::atomic_bool &stopped)
{
    QMutexLocker locker(&mutex);
    while (!stopped && inHand.contains(load))
        changed.wait(&mutex);
}

void ThumbnailMaker::wake()
{
    // Under the lock: a thread between its look at the flag and its wait must not miss this.
    const QMutexLocker locker(&mutex);
    changed.wakeAll();
}

bool ThumbnailMaker::finish(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    againPool.clear();
    return pool.waitForDone(milliseconds)
           && againPool.waitForDone(static_cast<int>(deadline.remainingTime()));
}

bool ThumbnailMaker::mayStart(int load) const
{
    const int ofLoad = inHand.value(load);
    return ofLoad == 0 || (ofLoad < processors && allInHand < 2 * processors);
}

void ThumbnailMaker::release(int load)
{
    const QMutexLocker locker(&mutex);
    if (--inHand[load] == 0)
        inHand.remove(load);
    --allInHand;
    changed.wakeAll();
}
