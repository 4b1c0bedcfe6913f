#pragma once

#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class VistamoOverwriteFileDialog;
}

/// Asks which of the files that stand in the way are to be overwritten. Closed by its title bar it reports
/// nothing.
class VistamoOverwriteFileDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VistamoOverwriteFileDialog(QWidget *parent);
    ~VistamoOverwriteFileDialog() override;

    /// Targets and their sources, in pairs; all are ticked.
    void setFileList(const QStringList &fileExistsList, const QStringList &fileSourceList);

signals:
    /// The pairs that were left ticked, at least one.
    void overwriteFiles(QStringList fileExistsList, QStringList fileSourceList);

    /// Nothing is to be overwritten.
    void convertFinish();

private slots:
    void on_overwriteButton_clicked();
    void on_cancelButton_clicked();

private:
    const std::unique_ptr<Ui::VistamoOverwriteFileDialog> ui;
    QStringList fileExistsList; ///< what the user left ticked
    QStringList fileSourceList;
};
