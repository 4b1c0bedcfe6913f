#include "shell/ThumbsForm.h"

#include "fileops/FileWork.h"
#include "fileops/VistamoDeleteDialog.h"
#include "fileops/VistamoOverwriteFileDialog.h"
#include "fileops/VistamoRenameDialog.h"
#include "shared/dialogs/MessageBox.h"
#include "shared/platform/FolderPicker.h"
#include "shared/platform/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QPointer>
#include <QtDebug>

#include <algorithm>

namespace {

/// Shows a dialog that deletes itself at its buttons, but not when it is closed otherwise.
void execAndFree(QDialog *dialog)
{
    const QPointer<QDialog> kept = dialog;
    dialog->exec();
    if (kept)
        kept->deleteLater();
}

void showFileCopiedMessage(int count, const QString &folder)
{
    const QString files =
        count > 1 ? QString::number(count) + ThumbsForm::tr(" files ") : ThumbsForm::tr("1 file ");
    MessageBox::inform(ThumbsForm::tr("Kestrix"), files
                                                      + ThumbsForm::tr("has been successfully copied to the ")
                                                      + QFileInfo(folder).fileName() + QLatin1Char('.'));
}

} // namespace

FileTransfer::Surroundings ThumbsForm::transferSurroundings()
{
    const auto pickFolder = [] {
        const FolderPicker picker;
        return picker.selectFolder(picker.documentsFolder(), tr("Select Folder ..."));
    };
    return {pickFolder, [this] { return std::make_unique<FileWork>(this); },
            [this](const QStringList &sources) { removeItemFromList(sources); },
            [this](const QStringList &targets, const QStringList &sources) {
                showOverwriteDialog(targets, sources);
            },
            showFileCopiedMessage};
}

void ThumbsForm::onCopytoAction()
{
    static_cast<void>(fileTransfer.transfer(
        FileTransfer::Mode::Copy, ui->showCheckboxButton->isChecked() ? ticks.files() : selectedFiles()));
}

void ThumbsForm::onMovetoAction()
{
    folderWatch.skipNext();
    movedFrom = fileList.folder();
    QStringList sources = ui->showCheckboxButton->isChecked() ? ticks.files() : selectedFiles();
    // Each file that has been moved takes its tick along.
    if (ui->showCheckboxButton->isChecked())
        std::reverse(sources.begin(), sources.end());
    // Changes of the folder on show count again after a move.
    if (fileTransfer.transfer(FileTransfer::Mode::Move, sources))
        folderWatch.clearSkip();
}

void ThumbsForm::showOverwriteDialog(const QStringList &fileExistsList, const QStringList &fileSourceList)
{
    auto *const dialog = new VistamoOverwriteFileDialog(this);
    connect(dialog, SIGNAL(overwriteFiles(QStringList, QStringList)),
            SLOT(handleOverwriteFiles(QStringList, QStringList)));
    connect(dialog, SIGNAL(convertFinish()), SLOT(handleConvertFinish()));
    dialog->setFileList(fileExistsList, fileSourceList);
    execAndFree(dialog);
}

void ThumbsForm::handleOverwriteFiles(QStringList fileExistsList, QStringList fileSourceList)
{
    fileTransfer.overwrite(fileExistsList, fileSourceList);
}

void ThumbsForm::handleConvertFinish()
{
    fileTransfer.finish();
}

void ThumbsForm::onRenameAction()
{
    qDebug() << "currentPath: " << folderLoad.path();
    const QStringList selected = selectedFiles();
    if (selected.isEmpty() || !QFileInfo(selected.first()).isFile())
        return;
    VistamoRenameDialog dialog;
    // The folder on show may already be the next one.
    dialog.setFile(selected.first(), QFileInfo(selected.first()).path());
    dialog.exec();
}

void ThumbsForm::on_deleteButton_clicked()
{
    deleteFileList.clear();
    if (ui->showCheckboxButton->isChecked()) {
        qDebug() << "CurrentPath" << folderLoad.path();
        for (const QString &file : ticks.filesOf(folderLoad.path()))
            deleteFileList.append({file, -1});
    } else {
        for (const QModelIndex &index : ui->mainListView->selectionModel()->selectedIndexes()) {
            if (const TFileRecord *const record = fileList.at(index.row()))
                deleteFileList.append({record->fullPath, index.row()});
        }
    }
    showDeleteDialog();
}

void ThumbsForm::showDeleteDialog()
{
    auto *const dialog = new VistamoDeleteDialog(this);
    connect(dialog, SIGNAL(readyToDeleteFile()), SLOT(on_readyToDeleteFile()));
    connect(dialog, SIGNAL(fileDeleted(QList<VistamoGlobal::TFileData>)),
            SLOT(on_fileDeleted(QList<VistamoGlobal::TFileData>)));
    dialog->setFileList(deleteFileList);
    execAndFree(dialog);
}

void ThumbsForm::on_readyToDeleteFile()
{
    folderWatch.skipNext();
}

/// Takes deleted files out of the lists, by their paths: their rows may have moved by now.
void ThumbsForm::on_fileDeleted(QList<VistamoGlobal::TFileData> deletedFileList)
{
    QStringList files;
    for (const VistamoGlobal::TFileData &file : deletedFileList)
        files.append(file.fullPath);
    removeItemFromList(files);
    ticks.untick(files);
    checkDeleteButton();
    folderWatch.clearSkip();
}
