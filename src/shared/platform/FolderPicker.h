#pragma once

#include <QDir>
#include <QStandardPaths>
#include <QString>

/// The program's only way of asking for a folder, and the places where it starts to look.
class FolderPicker
{
public:
    /// Asks the user for a folder; blocks until the dialog closes. Empty if cancelled, otherwise the path,
    /// with "/" between its parts.
    [[nodiscard]] QString selectFolder(const QString &startFolder, const QString &title) const;

    /// The user's documents and pictures folders; home where there is none.
    [[nodiscard]] QString documentsFolder() const { return locate(QStandardPaths::DocumentsLocation); }
    [[nodiscard]] QString picturesFolder() const { return locate(QStandardPaths::PicturesLocation); }

private:
    [[nodiscard]] static QString locate(QStandardPaths::StandardLocation folder)
    {
        const QString path = QStandardPaths::locate(folder, QString(), QStandardPaths::LocateDirectory);
        return path.isEmpty() ? QDir::homePath() : path;
    }
};
