#pragma once

#include "fileops/DeleteIconThread.h"
#include "shared/threads/Worker.h"
#include "shared/VistamoGlobal.h"

#include <QDialog>
#include <QImage>
#include <QStandardItemModel>

#include <memory>

namespace Ui {
class VistamoDeleteDialog;
}

/// Asks before files go to the trash, and sends them there. The check boxes have no function: every row goes.
class VistamoDeleteDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VistamoDeleteDialog(QWidget *parent);
    ~VistamoDeleteDialog() override;

    /// The files, the last on top; those that are gone are left out. Their icons come from the background.
    void setFileList(const QList<VistamoGlobal::TFileData> &list);

signals:
    /// Before each file.
    void readyToDeleteFile();

    /// At the end: the files that went to the trash.
    void fileDeleted(QList<VistamoGlobal::TFileData> fileList);

private slots:
    void on_applyButton_clicked();
    void on_cancelButton_clicked();
    void onIconMade(int number, const QImage &icon);

private:
    const std::unique_ptr<Ui::VistamoDeleteDialog> ui;
    QStandardItemModel fileModel;
    QStandardItem *rootItem = nullptr;
    const int thumbnailSize = 48; ///< pixels
    Worker<DeleteIconThread> iconThread;
};
