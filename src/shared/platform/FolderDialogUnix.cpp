#include "shared/platform/Platform.h"

#include <QApplication>
#include <QFileDialog>

QString Platform::selectFolder(const QString &startFolder, const QString &title)
{
    return QFileDialog::getExistingDirectory(QApplication::activeWindow(), title, startFolder);
}
