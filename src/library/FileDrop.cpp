#include "library/FileDrop.h"

#include "shared/VistamoGlobal.h"

#include <QDropEvent>
#include <QUrl>

QString FileDrop::firstPath(const QMimeData *mimeData)
{
    const QList<QUrl> urls = mimeData->urls();
    return urls.isEmpty() ? QString() : urls.first().toLocalFile();
}

void FileDrop::enter(QDropEvent *event, bool &isDirDrop)
{
    const QString path = firstPath(event->mimeData());
    isDirDrop = !path.isEmpty() && QFileInfo(path).isDir();
    event->setDropAction(Qt::LinkAction);
    event->setAccepted(isDirDrop || VistamoGlobal().isImageFile(path));
}
