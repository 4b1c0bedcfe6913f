#include "shared/FileDialog.h"

#include "shared/DialogSeam.h"

#include <QFileDialog>

QString FileDialog::saveFileName(const QString &caption, const QString &start, const QString &filter)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SaveFile, caption, start}))
        return answer->toString();
    return QFileDialog::getSaveFileName(nullptr, caption, start, filter);
}
