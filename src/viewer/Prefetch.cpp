#include "viewer/Prefetch.h"

#include "shared/threads/Background.h"
#include "viewer/VistamoLoadImageThread.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

// One picture of 24 megapixels, or several smaller ones.
constexpr qint64 mostBytes = 128LL * 1024 * 1024;

qint64 bytesOf(const QPixmap &pixmap)
{
    return 4LL * pixmap.width() * pixmap.height();
}

} // namespace

void Prefetch::want(const QList<ImageRequest> &files, const QPixmap &shown)
{
    const qint64 fitting = shown.isNull() ? 0 : mostBytes / bytesOf(shown);
    wanted = files.first(std::min<qsizetype>(files.size(), fitting));
    QList<Picture> before = std::exchange(pictures, {});
    std::copy_if(before.cbegin(), before.cend(), std::back_inserter(pictures),
                 [&](const Picture &picture) { return isWanted(picture.file); });
    Background::free(std::move(before));
    paused = false;
    decodeNext();
}

void Prefetch::pause()
{
    paused = true;
    if (thread.isActive() && thread->hangs()) {
        thread.leaveBehind();
        inFlight = {};
    }
}

ImageRequest Prefetch::request(const ImageRequest &file)
{
    for (const Picture &picture : std::as_const(pictures)) {
        if (picture.file.isSameFile(file))
            return picture.file;
    }
    if (inFlight.path.isEmpty() || !inFlight.isSameFile(file))
        return file;
    if (thread->isRunning())
        thread->setPriority(QThread::NormalPriority); // it is waited for now
    return inFlight;
}

bool Prefetch::isDecoded(const ImageRequest &file) const
{
    return std::any_of(pictures.cbegin(), pictures.cend(),
                       [&](const Picture &picture) { return picture.file.isSameFile(file); });
}

bool Prefetch::isWanted(const ImageRequest &file) const
{
    return std::any_of(wanted.cbegin(), wanted.cend(),
                       [&](const ImageRequest &other) { return other.isSameFile(file); });
}

void Prefetch::decodeNext()
{
    if (thread.isActive() || paused)
        return;
    const auto next = std::find_if(wanted.cbegin(), wanted.cend(),
                                   [&](const ImageRequest &file) { return !isDecoded(file); });
    if (next == wanted.cend())
        return;
    inFlight = *next;
    inFlight.prefetched = std::make_shared<DecodedOnce>();
    using Thread = VistamoLoadImageThread;
    thread.set(std::make_unique<Thread>());
    thread.on(&Thread::imageLoaded, [this](const QPixmap &pixmap) { onImageLoaded(pixmap); });
    thread->addFile(inFlight);
    thread.start(QThread::LowPriority, [this](Thread &) { decodeNext(); });
}

void Prefetch::onImageLoaded(const QPixmap &pixmap)
{
    const qint64 bytes = bytesOf(pixmap);
    qint64 bytesOfAll = bytes;
    for (const Picture &picture : std::as_const(pictures))
        bytesOfAll += picture.bytes;
    if (!pixmap.isNull() && bytesOfAll <= mostBytes && isWanted(inFlight))
        pictures.append({inFlight, bytes});
    else
        wanted.removeIf([this](const ImageRequest &file) { return file.isSameFile(inFlight); }); // not again
    inFlight = {};
}
