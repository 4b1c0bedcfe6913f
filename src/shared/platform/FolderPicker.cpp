#include "shared/platform/FolderPicker.h"

#include "shared/dialogs/DialogSeam.h"
#include "shared/platform/Platform.h"

QString FolderPicker::selectFolder(const QString &startFolder, const QString &title) const
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SelectFolder, title, startFolder}))
        return QDir::fromNativeSeparators(answer->toString());
    return QDir::fromNativeSeparators(Platform::selectFolder(startFolder, title));
}
