#include "shared/FolderPicker.h"

#include "shared/DialogSeam.h"
#include "shared/Platform.h"

#include <QStandardPaths>

namespace {

QString locateFolder(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::locate(location, QString(), QStandardPaths::LocateDirectory);
}

} // namespace

QString FolderPicker::selectFolder(const QString &startFolder, const QString &title) const
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SelectFolder, title, startFolder}))
        return answer->toString();
    return Platform::selectFolder(startFolder, title);
}

QString FolderPicker::documentsFolder() const
{
    return locateFolder(QStandardPaths::DocumentsLocation);
}

QString FolderPicker::picturesFolder() const
{
    return locateFolder(QStandardPaths::PicturesLocation);
}
