#include "library/FileDrop.h"

#include "shared/VistamoGlobal.h"

#include <QDir>
#include <QDropEvent>
#include <QUrl>

namespace {

bool isFolder(const QString &path)
{
    return !path.isEmpty() && QFileInfo(path).isDir();
}

} // namespace

QString FileDrop::firstPath(const QMimeData *mimeData)
{
    const QList<QUrl> urls = mimeData->urls();
    return urls.isEmpty() ? QString() : QDir::fromNativeSeparators(urls.first().toLocalFile());
}

bool FileDrop::bringsImages(const QMimeData *mimeData)
{
    const QString path = firstPath(mimeData);
    return isFolder(path) || VistamoGlobal().isImageFile(path);
}

bool FileDrop::enter(QDropEvent *event)
{
    event->setDropAction(Qt::LinkAction);
    event->setAccepted(bringsImages(event->mimeData()));
    return isFolder(firstPath(event->mimeData()));
}
