#include "shell/ThumbsForm.h"

#include "library/FileNames.h"
#include "shared/FolderPicker.h"
#include "ui_ThumbsForm.h"

#include <QFileIconProvider>
#include <QtDebug>

#include <algorithm>

namespace {

// A storm of changes in the folder on show costs one reload after this much quiet, or this long after it
// began.
constexpr int quietMs = 200;
constexpr int longestStormMs = 2000;

} // namespace

void ThumbsForm::onAddFolder(QString path)
{
    qDebug() << "onAddFolder: " << path;
    const auto known = std::find_if(folderList.cbegin(), folderList.cend(), [&](const TFolderData &folder) {
        return isSamePath(folder.fullPath, path);
    });
    if (known == folderList.cend()) {
        addFolderToList(path);
        loadFolder(path);
        return;
    }

    const int shownRow = ui->sideTreeView->currentIndex().row();
    const int row = static_cast<int>(known - folderList.cbegin());
    qDebug() << "folderList Size: " << folderList.size();
    for (int i = 0; i <= row; ++i) {
        qDebug() << "Folder Exists: " << path;
        qDebug() << "fullPath: " << folderList[i].fullPath;
    }
    ui->sideTreeView->setCurrentIndex(treeModel.index(row, 0));
    if (row != shownRow)
        loadFolder(path);
}

void ThumbsForm::onAddFolder(QString path, QString fileName)
{
    selectedImageIndex = 0;
    loadImage(path + QLatin1Char('/') + fileName);
    ui->galleryTableView->selectColumn(0);
    VistamoGlobal::selectedFileName.clear();
    qDebug() << "currentPath: " << currentPath;
    qDebug() << "path: " << path;
    if (!isSamePath(currentPath, path)) {
        VistamoGlobal::selectedFileName = fileName;
    } else {
        // The last match counts where names differ by case alone.
        for (int row = 0; row < VistamoGlobal::fileDataList.size(); ++row) {
            if (VistamoGlobal::fileDataList[row].fileName.compare(fileName, Qt::CaseInsensitive) == 0) {
                ui->galleryTableView->selectColumn(row);
                selectedImageIndex = row;
            }
        }
    }
    onAddFolder(path);
}

bool ThumbsForm::addFolderToList(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return false;
    insertFolder(path, QFileIconProvider().icon(info));
    watchFolder(path);
    return true;
}

void ThumbsForm::watchFolder(const QString &path)
{
    if (!directoryWatcher.directories().contains(path))
        directoryWatcher.addPath(path);
}

/// Puts a folder at the top of the list without looking at the disk.
void ThumbsForm::insertFolder(const QString &path, const QIcon &icon)
{
    const QFileInfo info(path);
    const TFolderData folder = {info.fileName(), info.path(), path, icon};
    folderList.prepend(folder);
    folderRoot->insertRow(0, new QStandardItem(folder.icon, folder.fileName));
    // A single folder leaves nothing to choose.
    ui->sideTreeView->setVisible(folderList.size() > 1);
    ui->sideTreeView->setCurrentIndex(treeModel.index(0, 0));
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
    loadFolder(folderList.value(index.row()).fullPath);
}

void ThumbsForm::onNeedToMoveitem(int oldPos, int newPos)
{
    qDebug() << "onNeedToMoveitem: " << oldPos << "," << newPos;
    // A folder may be removed while it is dragged.
    if (oldPos >= folderList.size() || newPos >= folderList.size())
        return;
    const QList<QStandardItem *> items = treeModel.takeRow(oldPos);
    treeModel.insertRow(newPos, items);
    folderList.move(oldPos, newPos);
    ui->sideTreeView->setCurrentIndex(treeModel.index(newPos, 0));

    const QString path = folderList[newPos].fullPath;
    qDebug() << "oldPath: " << oldPath;
    qDebug() << "newPos Path: " << path;
    if (oldPath.compare(path, Qt::CaseInsensitive) != 0)
        loadFolder(path);
}

void ThumbsForm::on_openFileMinButton_clicked()
{
    const QModelIndexList selected = ui->sideTreeView->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return;
    const QString path = folderList.value(selected.first().row()).fullPath;
    if (!VistamoGlobal::vistamoLoadFolderThreadStat) {
        removeFolder(path);
        return;
    }
    pendingFolderRemoval = path;
    stopFolderThread();
}

void ThumbsForm::removeFolder(const QString &path)
{
    const auto folder = std::find_if(folderList.cbegin(), folderList.cend(),
                                     [&](const TFolderData &entry) { return entry.fullPath == path; });
    if (folder == folderList.cend())
        return;
    const int row = static_cast<int>(folder - folderList.cbegin());
    treeModel.removeRow(row);
    folderList.removeAt(row);
    qDebug() << "folderList.count(): " << folderList.count();
    if (folderList.isEmpty()) {
        checkEmptyFolderList();
        return;
    }

    showList(true);
    // The view has selected a neighbour by now.
    const QModelIndexList selected = ui->sideTreeView->selectionModel()->selectedIndexes();
    if (!selected.isEmpty())
        loadFolder(folderList[selected.first().row()].fullPath);
}

void ThumbsForm::checkEmptyFolderList()
{
    if (!folderList.isEmpty())
        return;
    showList(false);
    ui->sideTreeView->hide();
    stopThumbnailThread();
    reloadWanted = false;
    clearFiles();
    oldPath.clear();
    currentPath.clear();
    ui->pathValueLabel->clear();
    ui->pathWidget->hide();
    ui->openFileMinButton->setEnabled(false);
    ui->slideShowButton->setEnabled(false);
}

/// Shows the list of thumbnails, or in its place the frame that asks for a folder.
void ThumbsForm::showList(bool visible)
{
    ui->noItemFrame->setVisible(!visible);
    ui->mainListView->setVisible(visible);
}

void ThumbsForm::showDirModified(QString str)
{
    if (skipDirModified) {
        skipDirModified = false;
        return;
    }
    if (oldPath.compare(str, Qt::CaseInsensitive) == 0)
        reloadSoon(str);
}

/// Has the folder on show read again when nothing has changed for a moment.
void ThumbsForm::reloadSoon(const QString &path)
{
    if (!changeTimer.isActive())
        firstChange.start();
    const qint64 left = longestStormMs - firstChange.elapsed();
    changeTimer.start(static_cast<int>(std::clamp<qint64>(left, 0, quietMs)));
    changedPath = path;
}

/// Reads the folder on show again, unless another one has been chosen since it changed.
void ThumbsForm::onChangeTimer()
{
    if (oldPath.compare(changedPath, Qt::CaseInsensitive) != 0)
        return;
    oldPath.clear();
    loadFolder(changedPath);
}
