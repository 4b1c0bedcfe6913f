#include "shared/dialogs/FileDialog.h"

#include "shared/dialogs/DialogSeam.h"

#include <QFileDialog>

QString FileDialog::saveFileName(const QString &caption, const QString &start, const QString &filter,
                                 QWidget *parent)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SaveFile, caption, start}))
        return answer->toString();
    return QFileDialog::getSaveFileName(parent, caption, start, filter);
}

QStringList FileDialog::openFileNames(const QString &caption, const QString &start, const QString &filter,
                                      QWidget *parent)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::OpenFiles, caption, start}))
        return answer->toStringList();
    return QFileDialog::getOpenFileNames(parent, caption, start, filter);
}
