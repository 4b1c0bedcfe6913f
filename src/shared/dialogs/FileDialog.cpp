#include "shared/dialogs/FileDialog.h"

#include "shared/dialogs/DialogSeam.h"
#include "shared/dialogs/MessageBox.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QImageWriter>

namespace {

QString askForFile(const QString &caption, const QString &start, const QString &filter, QWidget *parent,
                   QString *chosenFilter)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SaveFile, caption, start}))
        return answer->toString();
    return QFileDialog::getSaveFileName(parent ? parent : QApplication::activeWindow(), caption, start,
                                        filter, chosenFilter);
}

/// A suffix by which a picture can be written; the last part of a date is none.
bool isFormat(const QString &suffix)
{
    return QImageWriter::supportedImageFormats().contains(suffix.toLatin1());
}

} // namespace

QString FileDialog::saveFileName(const QString &caption, const QString &start, const QString &filter,
                                 QWidget *parent)
{
    return askForFile(caption, start, filter, parent, nullptr);
}

QString FileDialog::saveFileNameWithSuffix(const QString &caption, const QString &start,
                                           const QString &filter)
{
    QString chosen = filter.section(QStringLiteral(";;"), 0, 0);
    const QString path = askForFile(caption, start, filter, nullptr, &chosen);
    if (path.isEmpty() || isFormat(QFileInfo(path).suffix().toLower()))
        return path;
    // "PNG file (*.png)"
    const QString whole = path + QLatin1Char('.') + chosen.section(QStringLiteral("*."), 1).chopped(1);
    const bool taken = QFileInfo::exists(whole)
                       && !MessageBox::confirm(
                           QCoreApplication::translate("FileDialog", "Confirm overwrite"),
                           QCoreApplication::translate("FileDialog", "Are you sure you want to overwrite ")
                               + QDir::toNativeSeparators(whole) + QLatin1Char('?'));
    return taken ? QString() : whole;
}

QStringList FileDialog::openFileNames(const QString &caption, const QString &start, const QString &filter,
                                      QWidget *parent)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::OpenFiles, caption, start}))
        return answer->toStringList();
    return QFileDialog::getOpenFileNames(parent, caption, start, filter);
}
