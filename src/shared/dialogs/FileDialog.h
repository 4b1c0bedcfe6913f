#pragma once

#include <QString>
#include <QStringList>

class QWidget;

/// The program's only way of asking for the names of files.
namespace FileDialog {

/// Asks where to save a file, beginning at the path `start`; blocks until the dialog closes and asks before
/// an existing file is taken. Empty if cancelled.
/// @param filter as `QFileDialog` takes it
[[nodiscard]] QString saveFileName(const QString &caption, const QString &start, const QString &filter,
                                   QWidget *parent = nullptr);

/// Asks for any number of files, beginning in the folder `start`; blocks until the dialog closes. Empty if
/// cancelled.
[[nodiscard]] QStringList openFileNames(const QString &caption, const QString &start, const QString &filter,
                                        QWidget *parent);

} // namespace FileDialog
