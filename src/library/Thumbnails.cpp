#include "library/Thumbnails.h"

#include "library/ThumbnailDatabase.h"
#include "shared/image/ImageReading.h"

#include <QDateTime>
#include <QFileInfo>
#include <QPainter>

#include <cstdlib>

namespace {

/// A file that was written this long ago is complete, as far as one can tell.
constexpr qint64 quietMs = 2000;

/// What a writer changes in a file.
struct FileState
{
    explicit FileState(const QFileInfo &info)
        : size(info.size())
        , modified(info.lastModified())
    {
    }
    bool operator==(const FileState &) const = default;

    /// A time far in the future says nothing of when the file was written.
    [[nodiscard]] bool isQuiet() const
    {
        return !modified.isValid() || std::abs(modified.msecsTo(QDateTime::currentDateTime())) >= quietMs;
    }

    qint64 size;
    QDateTime modified; ///< invalid if there is no file
};

} // namespace

FileThumbnail makeThumbnail(const TThumbnailRecord &key, int side, ThumbnailStoring storing)
{
    const FileState before{QFileInfo(key.fullPath)};
    const auto [image, fullSize] = ImageReading::readThumbnail(key.fullPath, side);
    const FileState after{QFileInfo(key.fullPath)};
    const bool changing = after.modified.isValid() && (before != after || !after.isQuiet());
    if (image.isNull())
        return {{}, {}, {}, false, changing};
    TThumbnailRecord record = key;
    record.resolution = QStringLiteral("%1x%2").arg(fullSize.width()).arg(fullSize.height());
    if (changing || storing == ThumbnailStoring::Leave)
        return {image, record.resolution, {}, false, changing};
    const QByteArray jpeg = ThumbnailDatabase::encoded(image);
    const bool added = ThumbnailDatabase::add(record, jpeg);
    return {image, record.resolution, jpeg, added && storing == ThumbnailStoring::Add, false};
}

FileThumbnail findOrMakeThumbnail(const TThumbnailRecord &key, int side, ThumbnailStoring storing)
{
    const auto stored = ThumbnailDatabase::find(key);
    if (!stored)
        return makeThumbnail(key, side, storing);
    const QImage image = QImage::fromData(stored->jpeg, "JPG");
    if (!image.isNull())
        return {image, stored->resolution, stored->jpeg, true, false};
    FileThumbnail made = makeThumbnail(
        key, side, storing == ThumbnailStoring::Add ? ThumbnailStoring::AddBehindBroken : storing);
    if (made.resolution.isEmpty())
        made.resolution = stored->resolution;
    return made;
}

QRect thumbnailRect(QSize thumbnail, int side)
{
    // No thumbnail is an empty rectangle in the middle.
    const QSize size = thumbnail.expandedTo(QSize(0, 0));
    return {QPoint((side - size.width()) / 2, (side - size.height()) / 2), size};
}

QImage squareAround(const QImage &picture, int side, const QColor &background)
{
    QImage square(side, side, QImage::Format_RGB32);
    square.fill(background);
    QPainter(&square).drawImage(thumbnailRect(picture.size(), side).topLeft(), picture);
    return square;
}

QImage whiteSquareAround(const QImage &thumbnail, int side)
{
    const QSize scaled = ImageReading::thumbnailSize(thumbnail.size(), side);
    return squareAround(thumbnail.isNull() ? thumbnail : thumbnail.scaled(scaled), side, Qt::white);
}
