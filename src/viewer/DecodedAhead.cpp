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

void DecodedAhead::want(const QList<File> &files, const QPixmap &shown)
{
    const qint64 fitting = shown.isNull() ? 0 : mostBytes / bytesOf(shown);
    wanted = files.first(std::min<qsizetype>(files.size(), fitting));
    pictures.removeIf([&](const Picture &picture) { return !wanted.contains(picture.file); });
    decodeNext();
}

QPixmap DecodedAhead::picture(const File &file) const
{
    for (const Picture &picture : pictures) {
        if (picture.file == file)
            return picture.pixmap;
    }
    return {};
}

VistamoLoadImageThread *DecodedAhead::takeThread()
{
    if (thread)
        thread->disconnect(this);
    return std::exchange(thread, nullptr);
}

void DecodedAhead::decodeNext()
{
    if (thread)
        return;
    const auto next = std::find_if(wanted.cbegin(), wanted.cend(),
                                   [&](const File &file) { return picture(file).isNull(); });
    if (next == wanted.cend())
        return;
    inHand = *next;
    thread = new VistamoLoadImageThread;
    connect(thread, SIGNAL(imageLoaded(QPixmap)), SLOT(onImageLoaded(QPixmap)));
    connect(thread, SIGNAL(finished()), SLOT(onFinished()));
    thread->addFile(inHand.path);
    thread->start(QThread::LowPriority);
}

void DecodedAhead::onImageLoaded(QPixmap pixmap)
{
    qint64 bytes = bytesOf(pixmap);
    for (const Picture &picture : std::as_const(pictures))
        bytes += bytesOf(picture.pixmap);
    if (!pixmap.isNull() && bytes <= mostBytes && wanted.contains(inHand))
        pictures.append({inHand, pixmap});
    else
        wanted.removeOne(inHand); // not again
}

void DecodedAhead::onFinished()
{
    delete std::exchange(thread, nullptr);
    decodeNext();
}
