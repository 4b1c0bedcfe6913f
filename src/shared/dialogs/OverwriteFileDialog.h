#pragma once

#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class OverwriteFileDialog;
}

/// Asks which of the files that stand in the way are to be overwritten. With nothing ticked, or closed by its
/// title bar, it reports nothing. Once a button has been clicked it is disabled.
class OverwriteFileDialog : public QDialog
{
    Q_OBJECT

public:
    ~OverwriteFileDialog() override;

signals:
    /// Nothing is to be overwritten.
    void convertFinish();

protected:
    explicit OverwriteFileDialog(QWidget *parent);

    /// Shows targets and their sources, in pairs; all are ticked.
    void showFiles(const QStringList &fileExistsList, const QStringList &fileSourceList);

    /// Called with the pairs that were left ticked, at least one, as the system writes paths.
    virtual void overwrite(const QStringList &fileExistsList, const QStringList &fileSourceList) = 0;

private slots:
    void on_overwriteButton_clicked();
    void on_cancelButton_clicked();

private:
    const std::unique_ptr<Ui::OverwriteFileDialog> ui;
};
