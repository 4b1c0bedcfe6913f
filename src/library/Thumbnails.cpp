#include "library/Thumbnails.h"

#include "library/ThumbnailDatabase.h"
#include "shared/image/ImageReading.h"

#include <QPainter>

FileThumbnail makeThumbnail(const TThumbnailRecord &key, int side, ThumbnailStoring storing)
{
    const auto [image, fullSize] = ImageReading::readThumbnail(key.fullPath, side);
    if (image.isNull())
        return {};
    TThumbnailRecord record = key;
    record.resolution = QStringLiteral("%1x%2").arg(fullSize.width()).arg(fullSize.height());
    if (storing == ThumbnailStoring::Leave)
        return {image, record.resolution, {}, false};
    const QByteArray jpeg = ThumbnailDatabase::encoded(image);
    const bool added = ThumbnailDatabase::add(record, jpeg);
    return {image, record.resolution, jpeg, added && storing == ThumbnailStoring::Add};
}

FileThumbnail findOrMakeThumbnail(const TThumbnailRecord &key, int side, ThumbnailStoring storing)
{
    const auto stored = ThumbnailDatabase::find(key);
    if (!stored)
        return makeThumbnail(key, side, storing);
    const QImage image = QImage::fromData(stored->jpeg, "JPG");
    if (!image.isNull())
        return {image, stored->resolution, stored->jpeg, true};
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
