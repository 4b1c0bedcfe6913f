#include "shell/ThumbsForm.h"

#include "shared/platform/FolderPicker.h"
#include "shared/platform/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QDir>
#include <QFileIconProvider>
#include <QtDebug>

namespace {

/// A folder's path as the list of folders has it: only that of a root ends with a slash.
QString withoutLastSlash(QString path)
{
    while (path.endsWith(QLatin1Char('/')) && !QDir(path).isRoot())
        path.chop(1);
    return path;
}

} // namespace

void ThumbsForm::open(const QString &path)
{
    const QFileInfo info(path);
    if (info.isDir())
        onAddFolder(path);
    else if (info.isFile() && VistamoGlobal().isImageFile(path))
        onAddFolder(info.path(), info.fileName());
}

void ThumbsForm::onAddFolder(QString path)
{
    path = withoutLastSlash(path);
    qDebug() << "onAddFolder: " << path;
    const int row = folders.find(path);
    if (row < 0) {
        addFolderToList(path);
        loadFolder(path);
        return;
    }

    const int shownRow = ui->sideTreeView->currentIndex().row();
    qDebug() << "folderList Size: " << folders.count();
    for (int i = 0; i <= row; ++i) {
        qDebug() << "Folder Exists: " << path;
        qDebug() << "fullPath: " << folders.pathAt(i);
    }
    ui->sideTreeView->setCurrentIndex(folders.model().index(row, 0));
    if (row != shownRow)
        loadFolder(path);
}

void ThumbsForm::onAddFolder(QString path, QString fileName)
{
    path = withoutLastSlash(path);
    loadImage(path + QLatin1Char('/') + fileName);
    VistamoGlobal::selectedFileName.clear();
    qDebug() << "currentPath: " << folderLoad.path();
    qDebug() << "path: " << path;
    if (NativeCaselessPath(folderLoad.path()) != NativeCaselessPath(path))
        VistamoGlobal::selectedFileName = fileName;
    onAddFolder(path);
}

bool ThumbsForm::addFolderToList(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return false;
    insertFolder(path, QFileIconProvider().icon(info));
    folderWatch.watch(path);
    return true;
}

/// Puts a folder at the top of the list without looking at the disk.
void ThumbsForm::insertFolder(const QString &path, const QIcon &icon)
{
    folders.add(path, icon);
    // A single folder leaves nothing to choose.
    ui->sideTreeView->setVisible(folders.count() > 1);
    ui->sideTreeView->setCurrentIndex(folders.model().index(0, 0));
}

void ThumbsForm::on_openFileAddButton_clicked()
{
    const FolderPicker picker;
    const QString path = picker.selectFolder(picker.documentsFolder(), tr("Select Folder ..."));
    if (!path.isEmpty())
        onAddFolder(path);
}

void ThumbsForm::on_sideTreeView_clicked(QModelIndex index)
{
    qDebug() << "on_sideTreeView_clicked";
    const QString path = folders.pathAt(index.row());
    if (folderWatch.isMissing(path))
        folderLoad.showChanged(path); // it may have come back
    loadFolder(path);
}

void ThumbsForm::onNeedToMoveitem(int oldPos, int newPos)
{
    qDebug() << "onNeedToMoveitem: " << oldPos << "," << newPos;
    // A folder may be removed while it is dragged.
    if (!folders.move(oldPos, newPos))
        return;
    ui->sideTreeView->setCurrentIndex(folders.model().index(newPos, 0));

    const QString path = folders.pathAt(newPos);
    qDebug() << "oldPath: " << folderLoad.askedFor();
    qDebug() << "newPos Path: " << path;
    if (CaselessPath(folderLoad.askedFor()) != CaselessPath(path))
        loadFolder(path);
}

void ThumbsForm::on_openFileMinButton_clicked()
{
    const QModelIndexList selected = ui->sideTreeView->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return;
    const QString path = folders.pathAt(selected.first().row());
    folderLoad.stopThen([this, path] { removeFolder(path); });
}

void ThumbsForm::removeFolder(const QString &path)
{
    if (!folders.remove(path))
        return;
    if (folders.isEmpty()) {
        checkEmptyFolderList();
        return;
    }

    showList(true);
    // The view has selected a neighbour by now.
    const QModelIndexList selected = ui->sideTreeView->selectionModel()->selectedIndexes();
    if (!selected.isEmpty())
        loadFolder(folders.pathAt(selected.first().row()));
}

void ThumbsForm::checkEmptyFolderList()
{
    if (!folders.isEmpty())
        return;
    showList(false);
    ui->sideTreeView->hide();
    folderLoad.leave();
    fileList.clear();
    ui->pathValueLabel->clear();
    ui->pathWidget->hide();
    ui->openFileMinButton->setEnabled(false);
    ui->slideShowButton->setEnabled(false);
}

void ThumbsForm::showDirModified(QString str)
{
    folderWatch.directoryModified(str, folderLoad.askedFor());
}
