#pragma once

#include <QString>

/// The program's only way of asking for the name of a file.
namespace FileDialog {

/// Asks where to save a file, beginning at the path `start`; blocks until the dialog closes and asks before
/// an existing file is taken. Empty if cancelled.
/// @param filter as `QFileDialog` takes it
QString saveFileName(const QString &caption, const QString &start, const QString &filter);

} // namespace FileDialog
