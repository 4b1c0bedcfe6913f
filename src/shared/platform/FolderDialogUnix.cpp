#include "shared/platform/Platform.h"

#include <QFileDialog>

QString Platform::selectFolder(const QString &startFolder, const QString &title)
{
    return QFileDialog::getExistingDirectory(nullptr, title, startFolder);
}
