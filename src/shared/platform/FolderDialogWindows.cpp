#include "shared/platform/Platform.h"

#include "shared/platform/ShellFolderBrowser.h"

QString Platform::selectFolder(const QString &startFolder, const QString &title)
{
    return QString::fromStdWString(browseForFolder(startFolder.toStdWString(), title.toStdWString()));
}
