#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class VistamoRenameDialog;
}

/// Gives a file another base name: what is before its first dot. What follows the last dot stays, and what is
/// between them goes. A name that cannot be had leaves the file as it is.
class VistamoRenameDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VistamoRenameDialog(QWidget *parent = nullptr);
    ~VistamoRenameDialog() override;

    /// The file, and the folder in which it gets its new name.
    void setFile(const QString &filePath, const QString &folderPath);

private slots:
    void on_renameButton_clicked();
    void on_closeButton_clicked();

private:
    const std::unique_ptr<Ui::VistamoRenameDialog> ui;
    QString filePath;
    QString folderPath;
};
