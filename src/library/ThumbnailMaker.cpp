#include "library/ThumbnailMaker.h"

#include "library/ThumbnailDatabase.h"
#include "shared/platform/Platform.h"

#include <QBuffer>
#include <QImage>
#include <QThread>

#include <algorithm>

namespace {

// The bounds on what is in flight are the maker's own; one thread more for each folder that hangs on a dead
// drive.
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

/// Reads the file, stores its thumbnail, and keeps the encoded bytes where the database would not give the
/// same picture back.
ThumbnailAnswer answerTo(Generation generation, const TThumbnailRequest &request, ThumbnailStoring storing)
{
    ThumbnailAnswer answer;
    answer.generation = generation;
    answer.row = request.row;
    answer.fileName = request.info.fileName();
    answer.key = ThumbnailDatabase::keyOf(request.info);
    const auto [image, resolution, jpeg, stored, changing] =
        makeThumbnail(answer.key, thumbnailSide, storing);
    answer.changing = changing;
    if (image.isNull())
        return answer;

    if (isTransparent(image))
        answer.encoded = encodedAsPng(image);
    else if (stored)
        answer.stored = true;
    else
        answer.encoded = jpeg.isEmpty() ? ThumbnailDatabase::encoded(image) : jpeg;
    // Without a writer for either format there is nothing to show.
    if (answer.stored || !answer.encoded.isEmpty())
        answer.size = image.size();
    return answer;
}

} // namespace

ThumbnailMaker::ThumbnailMaker(QObject *parent)
    : QObject(parent)
    , processors(std::max(QThread::idealThreadCount(), 1))
{
    pool.setMaxThreadCount(mostThreads);
    pool.setObjectName(QStringLiteral("ThumbnailMaker"));
}

ThumbnailMaker::~ThumbnailMaker()
{
    pool.waitForDone();
}

void ThumbnailMaker::make(Generation generation, const TThumbnailRequest &request, ThumbnailStoring storing,
                          const std::atomic_bool &stopped)
{
    {
        auto access = inFlight.lock();
        while (!stopped && !access->mayStart(generation, processors))
            access.wait();
        if (stopped)
            return;
        access->add(generation);
    }
    pool.start([this, generation, request, storing] {
        Platform::lowerThreadPriority(); // a click on another folder comes first
        emit made(answerTo(generation, request, storing));
        auto access = inFlight.lock();
        access->remove(generation);
        access.wakeAll();
    });
}

void ThumbnailMaker::makeAgain(Generation generation, const TThumbnailRequest &request,
                               ThumbnailStoring storing)
{
    pool.start([this, generation, request, storing] {
        ThumbnailAnswer answer = answerTo(generation, request, storing);
        answer.again = true;
        emit made(answer);
    });
}

void ThumbnailMaker::waitForLoad(Generation generation, const std::function<bool()> &isOver)
{
    auto access = inFlight.lock();
    while (!isOver() && access->ofGeneration.contains(generation))
        access.wait();
}

void ThumbnailMaker::wake()
{
    // Under the lock: a thread between its look at the flag and its wait must not miss this.
    inFlight.lock().wakeAll();
}

bool ThumbnailMaker::InFlight::mayStart(Generation generation, int processors) const
{
    const int already = ofGeneration.value(generation);
    return already == 0 || (already < processors && all < 2 * processors);
}

void ThumbnailMaker::InFlight::add(Generation generation)
{
    ++ofGeneration[generation];
    ++all;
}

void ThumbnailMaker::InFlight::remove(Generation generation)
{
    Q_ASSERT_X(ofGeneration.value(generation) > 0 && all >= ofGeneration.value(generation), "ThumbnailMaker",
               qPrintable(QStringLiteral("%1 of generation %2 in flight, %3 altogether")
                              .arg(ofGeneration.value(generation))
                              .arg(generation.value)
                              .arg(all)));
    if (--ofGeneration[generation] == 0)
        ofGeneration.remove(generation);
    --all;
}
