#include "library/FileDrop.h"

#include "shared/VistamoGlobal.h"

#include <QDropEvent>
#include <QUrl>

QString FileDrop::firstPath(const QMimeData *mimeData)
{
    const QList<QUrl> urls = mimeData->urls();
    return urls.isEmpty() ? QString() : urls.first().toLocalFile();
}

bool FileDrop::enter(QDropEvent *event)
{
    const QString path = firstPath(event->mimeData());
    const bool isDir = !path.isEmpty() && QFileInfo(path).isDir();
    event->setDropAction(Qt::LinkAction);
    event->setAccepted(isDir || VistamoGlobal().isImageFile(path));
    return isDir;
}
