#include "fileops/DeleteIconThread.h"

#include "library/ThumbnailDatabase.h"
#include "library/Thumbnails.h"

#include <QFileInfo>

DeleteIconThread::DeleteIconThread(const QStringList &paths, int side, QObject *parent)
    : StoppableThread(parent)
    , paths(paths)
    , side(side)
{
    setObjectName(QStringLiteral("DeleteIcons"));
}

void DeleteIconThread::run()
{
    for (int i = 0; i < paths.size() && !stopRequested; ++i) {
        const auto key = ThumbnailDatabase::keyOf(QFileInfo(paths[i]));
        const QImage thumbnail = findOrMakeThumbnail(key, side, ThumbnailStoring::Leave).image;
        emit iconMade(i, whiteSquareAround(thumbnail, side));
    }
}
