#include "shared/platform/Platform.h"

#include "shared/platform/ShellFolderBrowser.h"

#include <QApplication>
#include <QDir>
#include <QWidget>

QString Platform::selectFolder(const QString &startFolder, const QString &title)
{
    const QWidget *const window = QApplication::activeWindow();
    return QString::fromStdWString(
        browseForFolder(window ? reinterpret_cast<void *>(window->winId()) : nullptr,
                        QDir::toNativeSeparators(startFolder).toStdWString(), title.toStdWString()));
}
