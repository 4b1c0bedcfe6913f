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

/// The same for a picture; a name without the suffix of a format gets that of the filter that was chosen, and
/// where a file has that name, the user is asked whether to replace it.
[[nodiscard]] QString saveFileNameWithSuffix(const QString &caption, const QString &start,
                                             const QString &filter);

/// Asks for any number of files, beginning in the folder `start`; blocks until the dialog closes. Empty if
/// cancelled.
[[nodiscard]] QStringList openFileNames(const QString &caption, const QString &start, const QString &filter,
                                        QWidget *parent);

} // namespace FileDialog
