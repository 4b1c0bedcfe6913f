#include "shared/Platform.h"

#include "shared/ShellFolderBrowser.h"

QString Platform::selectFolder(const QString &startFolder, const QString &title)
{
    return QString::fromStdWString(browseForFolder(startFolder.toStdWString(), title.toStdWString()));
}
