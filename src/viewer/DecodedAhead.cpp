#include "viewer/DecodedAhead.h"

#include "viewer/VistamoLoadImageThread.h"

#include <algorithm>
#include <utility>

namespace {

// One picture of 24 megapixels, or several smaller ones.
constexpr qint64 mostBytes = 128LL * 1024 * 1024;

qint64 bytesOf(const QPixmap &pixmap)
{
    return 4LL * pixmap.width() * pixmap.height();
}

} // namespace

void DecodedAhead::want(const QList<ImageRequest> &files, const QPixmap &shown)
{
    const qint64 fitting = shown.isNull() ? 0 : mostBytes / bytesOf(shown);
    wanted = files.first(std::min<qsizetype>(files.size(), fitting));
    pictures.removeIf([&](const ImageRequest &picture) { return !isWanted(picture); });
    paused = false;
    decodeNext();
}

void DecodedAhead::pause()
{
    paused = true;
}

ImageRequest DecodedAhead::request(const ImageRequest &file) const
{
    for (const ImageRequest &picture : pictures) {
        if (picture.isSameFile(file))
            return picture;
    }
    return file;
}

bool DecodedAhead::isWanted(const ImageRequest &file) const
{
    return std::any_of(wanted.cbegin(), wanted.cend(),
                       [&](const ImageRequest &other) { return other.isSameFile(file); });
}

VistamoLoadImageThread *DecodedAhead::takeThread()
{
    if (thread)
        thread->disconnect(this);
    return std::exchange(thread, nullptr);
}

void DecodedAhead::decodeNext()
{
    if (thread || paused)
        return;
    const auto next = std::find_if(wanted.cbegin(), wanted.cend(),
                                   [&](const ImageRequest &file) { return request(file).pixmap.isNull(); });
    if (next == wanted.cend())
        return;
    inHand = *next;
    thread = new VistamoLoadImageThread;
    connect(thread, SIGNAL(imageLoaded(QPixmap)), SLOT(onImageLoaded(QPixmap)));
    connect(thread, SIGNAL(finished()), SLOT(onFinished()));
    thread->addFile(inHand);
    thread->start(QThread::LowPriority);
}

void DecodedAhead::onImageLoaded(QPixmap pixmap)
{
    qint64 bytes = bytesOf(pixmap);
    for (const ImageRequest &picture : std::as_const(pictures))
        bytes += bytesOf(picture.pixmap);
    if (!pixmap.isNull() && bytes <= mostBytes && isWanted(inHand)) {
        pictures.append(inHand);
        pictures.last().pixmap = pixmap;
    } else {
        wanted.removeIf([this](const ImageRequest &file) { return file.isSameFile(inHand); }); // not again
    }
}

void DecodedAhead::onFinished()
{
    delete std::exchange(thread, nullptr);
    decodeNext();
}
