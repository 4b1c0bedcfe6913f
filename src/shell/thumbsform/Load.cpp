#include "shell/ThumbsForm.h"

#include "shared/platform/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QDir>
#include <QScrollBar>
#include <QtDebug>

#include <algorithm>

void ThumbsForm::loadFolder(const QString &path)
{
    folderLoad.show(path);
}

/// Prepares the page for a folder whose load begins.
void ThumbsForm::onFolderShown(const QString &path)
{
    ui->pathValueLabel->setText(QDir::toNativeSeparators(path));
    ui->pathWidget->show();
    ui->mainListView->setEmptyText({});
    if (ExactPath(path) != ExactPath(restOf))
        restOf.clear();
    showTickCount();
    showList(true);
    ui->openFileMinButton->setEnabled(true);
    ui->slideShowButton->setEnabled(true);
    if (ExactPath(path) != ExactPath(fileList.folder()))
        ui->mainListView->verticalScrollBar()->setValue(0);
}

/// Shows the list of thumbnails, or in its place the frame that asks for a folder.
void ThumbsForm::showList(bool visible)
{
    const bool changes = ui->mainListView->isHidden() == visible;
    ui->noItemFrame->setVisible(!visible);
    ui->mainListView->setVisible(visible);
    if (changes)
        focusPage();
}

void ThumbsForm::onFilesFound(const FoundFiles &files)
{
    const bool wasThere = fileList.isReadAgain() || files.gone;
    const bool ticksRest = ExactPath(files.path) == ExactPath(restOf);
    const QSet<QString> before = ticksRest ? fileList.names() : QSet<QString>();
    const auto requests = fileList.take(files, VistamoGlobal::showCheckbox);
    if (!requests)
        return;
    if (ticksRest)
        tickRest(before);
    if (files.gone)
        ticks.changePresent(files.path, *files.gone, files.records);
    if (files.complete) {
        if (ticksRest)
            restOf.clear();
        // In pieces a file of another case may have come before it went. What is unreadable is not known to
        // be gone.
        if ((!files.gone || files.isRest) && !files.isUnreadable && !files.cutOff)
            ticks.setPresent(files.path, VistamoGlobal::fileDataList);
        showTickCount();
        ui->mainListView->setEmptyText(files.isUnreadable ? tr("This folder cannot be read.")
                                                          : tr("There are no photos in this folder."));
        // A folder on a drive that did not answer at the start is watched from its first walk on.
        if (folderWatch.watch(files.path))
            folderWatch.reportSoon(files.path); // it may have changed since the walk
        if (wasThere && !VistamoGlobal::selectedFileName.isEmpty())
            onCurrentColumnChanged(fileList.lastRowNamed(VistamoGlobal::selectedFileName));
        followShownFile();
    }
    tellScrollPosition();
    for (const TThumbnailRequest &request : *requests)
        onRequestGetThumbnail(request.info, request.row);
}

void ThumbsForm::onRequestGetThumbnail(QFileInfo info, int row)
{
    folderLoad.requestThumbnail(info, row);
}

void ThumbsForm::onEnumFilesFinish(int count)
{
    const int total =
        std::max(count, fileList.count()); // a walk that failed half-way has left rows as they were
    ui->pathValueLabel->setText(tr("Total: ") + QString::number(total) + tr("   Path: ")
                                + QDir::toNativeSeparators(folderLoad.path()));
}

void ThumbsForm::onCurrentColumnChanged(int col)
{
    qDebug() << "onCurrentColumnChanged";
    // The rows of a folder that is read again are not yet those of its walk.
    if (fileList.isReadAgain() || !fileList.at(col))
        return;
    VistamoGlobal::selectedFileName.clear();
    ui->mainListView->setCurrentIndex(fileList.list().index(col, 0));
    ui->galleryTableView->selectColumn(col);
    selectedImageIndex = col;
    followShownFile();
}

void ThumbsForm::onRefreshTimer()
{
    folderLoad.onRefreshTimer();
}

void ThumbsForm::startThumbnailThread()
{
    folderLoad.startThumbnails();
}

void ThumbsForm::onThumbnailsFound(const QList<ThumbnailAnswer> &answers)
{
    for (const ThumbnailAnswer &answer : answers)
        fileList.take(answer);
}

void ThumbsForm::onThumbnailMade(const ThumbnailAnswer &answer)
{
    fileList.take(answer);
    if (answer.again)
        onLostPictures();
}

/// Makes pictures again that the list could not paint, a few at a time, the latest first.
void ThumbsForm::onLostPictures()
{
    while (folderLoad.mayMakeAgain()) {
        const auto source = fileList.icons().takeLost();
        if (!source)
            return;
        folderLoad.makeAgain({QFileInfo(source->key.fullPath), source->row},
                             source->stored ? ThumbnailStoring::AddBehindBroken : ThumbnailStoring::Leave);
    }
}

void ThumbsForm::onLoadFolderFinish()
{
    qDebug() << "onLoadFolderFinish Start";
    qDebug() << "onLoadFolderFinish End";
}

void ThumbsForm::onLoadThumbnailFinish()
{
    qDebug() << "onLoadThumbnailFinish Start";
    qDebug() << "onLoadThumbnailFinish End";
}

void ThumbsForm::onThumbnailRepaintNeeded()
{
    ui->mainListView->viewport()->update();
    ui->galleryTableView->viewport()->update();
}
