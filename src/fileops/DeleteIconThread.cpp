#include "fileops/DeleteIconThread.h"

#include "library/ThumbnailDatabase.h"
#include "shared/ImageReading.h"

#include <QFileInfo>
#include <QPainter>

DeleteIconThread::DeleteIconThread(const QStringList &paths, int side, QObject *parent)
    : StoppableThread(parent)
    , paths(paths)
    , side(side)
{
    setObjectName(QStringLiteral("DeleteIcons"));
}

void DeleteIconThread::run()
{
    for (int i = 0; i < paths.size() && !stopRequested; ++i)
        emit iconMade(i, makeThumbnail(paths[i], side));
}

QImage DeleteIconThread::makeThumbnail(const QString &path, int side) const
{
    QImage picture;
    if (const auto stored = ThumbnailDatabase::find(ThumbnailDatabase::keyOf(QFileInfo(path))))
        picture.loadFromData(stored->jpeg);
    if (picture.isNull())
        picture = ImageReading::readThumbnail(path, side).image;
    QImage square(side, side, QImage::Format_RGB32);
    square.fill(Qt::white);
    if (picture.isNull())
        return square;
    picture = picture.scaled(ImageReading::thumbnailSize(picture.size(), side));
    QPainter(&square).drawImage((side - picture.width()) / 2, (side - picture.height()) / 2, picture);
    return square;
}
