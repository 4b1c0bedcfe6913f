#include "shell/ThumbsForm.h"

#include "library/FileNames.h"
#include "ui_ThumbsForm.h"

#include <QDeadlineTimer>
#include <QScrollBar>
#include <QtDebug>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace {

// Loaders that are told to stop end at once; one that is held up by a dead network drive is left behind.
constexpr int longestEndMs = 1000;
// At the end of the program they get this long altogether.
constexpr int longestExitMs = 2000;

/// True if the file in `row` is the same as at the last walk, so that its icon can stay.
bool isUnchanged(const TFileRecord &old, const TFileRecord &record)
{
    return old.fileName == record.fileName && old.fullPath == record.fullPath && old.size == record.size
           && old.creationTime == record.creationTime;
}

/// Puts cells into the strip's one row from column `first` on. Columns are added by way of the row taken out
/// and put back: inserted one by one they cost the square of their number.
void setStripCells(QStandardItemModel &strip, int first, const QList<QStandardItem *> &cells)
{
    QList<QStandardItem *> row = strip.takeRow(0);
    for (qsizetype i = 0; i < cells.size(); ++i) {
        const qsizetype column = first + i;
        if (column < row.size())
            delete std::exchange(row[column], cells[i]);
        else
            row.append(cells[i]);
    }
    strip.insertRow(0, row);
}

} // namespace

void ThumbsForm::loadFolder(const QString &path)
{
    qDebug() << "loadFolder: " << path;
    qDebug() << "oldPath: " << oldPath;
    if (oldPath == path)
        return;

    oldPath = currentPath = path;
    ui->pathValueLabel->setText(currentPath);
    ui->pathWidget->show();
    showList(true);
    ui->openFileMinButton->setEnabled(true);
    ui->slideShowButton->setEnabled(true);
    ui->mainListView->verticalScrollBar()->setValue(0);
    qDebug() << "VistamoGlobal::vistamoLoadFolderThreadStat: " << VistamoGlobal::vistamoLoadFolderThreadStat;
    qDebug() << "vistamoLoadThumbnailThreadStat: " << vistamoLoadThumbnailThreadStat;

    if (!VistamoGlobal::vistamoLoadFolderThreadStat && !vistamoLoadThumbnailThreadStat) {
        startLoadThreads(path);
        return;
    }
    if (loadFolderThread)
        loadFolderThread->stop();
    if (loadThumbnailThread)
        loadThumbnailThread->stop();
    reloadWanted = true;
    waitForLoadThreads();
}

void ThumbsForm::startLoadThreads(const QString &path)
{
    if (refreshTimer)
        refreshTimer->stop();
    ++currentLoad;
    startThumbnailThread();
    if (loadFolderThread)
        return;
    VistamoGlobal::vistamoLoadFolderThreadStat = true;
    loadFolderThread = new VistamoLoadFolderThread(currentLoad, path, VistamoGlobal::selectedFileName);
    connect(loadFolderThread, SIGNAL(finished()), SLOT(onLoadFolderFinish()));
    connect(loadFolderThread, SIGNAL(filesFound(FoundFiles)), SLOT(onFilesFound(FoundFiles)));
    connect(loadFolderThread, SIGNAL(enumFilesFinish(int)), SLOT(onEnumFilesFinish(int)));
    connect(loadFolderThread, SIGNAL(currentColumnChanged(int)), SLOT(onCurrentColumnChanged(int)));
    loadFolderThread->start(QThread::InheritPriority);
}

void ThumbsForm::startThumbnailThread()
{
    if (loadThumbnailThread)
        return;
    vistamoLoadThumbnailThreadStat = true;
    loadThumbnailThread = new VistamoLoadThumbnailThread(currentLoad, thumbnailMaker.get());
    connect(loadThumbnailThread, SIGNAL(finished()), SLOT(onLoadThumbnailFinish()));
    connect(loadThumbnailThread, SIGNAL(thumbnailsFound(QList<ThumbnailAnswer>)),
            SLOT(onThumbnailsFound(QList<ThumbnailAnswer>)));
    loadThumbnailThread->start(QThread::InheritPriority);
}

/// Gives threads that were told to stop a moment to end.
void ThumbsForm::waitForLoadThreads()
{
    if (!refreshTimer) {
        refreshTimer = new QTimer(this);
        refreshTimer->setSingleShot(true);
        connect(refreshTimer, SIGNAL(timeout()), SLOT(onRefreshTimer()));
    }
    refreshTimer->start(longestEndMs);
}

/// The moment is over: what still hangs is left behind, and the program goes on without it.
void ThumbsForm::onRefreshTimer()
{
    if (QThread *const thread = std::exchange(loadThumbnailThread, nullptr)) {
        leaveBehind(thread);
        vistamoLoadThumbnailThreadStat = false;
    }
    if (QThread *const thread = std::exchange(loadFolderThread, nullptr)) {
        leaveBehind(thread);
        folderThreadEnded();
    }
    reloadIfWanted();
}

void ThumbsForm::leaveBehind(QThread *thread)
{
    threadLeftBehind = true;
    thread->disconnect(this);
    connect(thread, SIGNAL(finished()), thread, SLOT(deleteLater()));
}

void ThumbsForm::onLoadFolderFinish()
{
    if (sender() != loadFolderThread)
        return;
    qDebug() << "onLoadFolderFinish Start";
    delete std::exchange(loadFolderThread, nullptr);
    folderThreadEnded();
    reloadIfWanted();
    qDebug() << "onLoadFolderFinish End";
}

void ThumbsForm::folderThreadEnded()
{
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
    if (std::exchange(pendingFolderRemoval, false))
        removeSelectedFolder();
}

void ThumbsForm::onLoadThumbnailFinish()
{
    if (sender() != loadThumbnailThread)
        return;
    qDebug() << "onLoadThumbnailFinish Start";
    delete std::exchange(loadThumbnailThread, nullptr);
    vistamoLoadThumbnailThreadStat = false;
    reloadIfWanted();
    qDebug() << "onLoadThumbnailFinish End";
}

/// The second half of a load that had to stop another: of several folders picked meanwhile the last counts.
void ThumbsForm::reloadIfWanted()
{
    if (VistamoGlobal::vistamoLoadFolderThreadStat || vistamoLoadThumbnailThreadStat || !reloadWanted)
        return;
    reloadWanted = false;
    clearFiles();
    startLoadThreads(currentPath);
}

void ThumbsForm::clearFiles()
{
    mainModel.clear();
    galleryModel.clear();
    VistamoGlobal::fileDataList.clear();
}

void ThumbsForm::onFilesFound(const FoundFiles &files)
{
    if (files.load != currentLoad)
        return;
    addRows(files);
    if (files.complete)
        removeRowsFrom(files.firstRow + static_cast<int>(files.records.size()));
    tellScrollPosition();
    for (qsizetype i = 0; i < files.infos.size(); ++i)
        onRequestGetThumbnail(files.infos[i], files.firstRow + static_cast<int>(i));
}

/// Publishes a batch: the strip first, then the list. A row that shows the same file as before keeps its
/// icon.
void ThumbsForm::addRows(const FoundFiles &files)
{
    QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    const QIcon blank = thumbnailIcons.blank();
    const int oldRows = std::min(mainModel.rowCount(), static_cast<int>(records.size()));
    QList<QStandardItem *> items;
    QList<QStandardItem *> cells;
    items.reserve(files.records.size());
    cells.reserve(files.records.size());
    for (qsizetype i = 0; i < files.records.size(); ++i) {
        const int row = files.firstRow + static_cast<int>(i);
        QIcon icon = blank;
        if (row < oldRows && isUnchanged(records[row], files.records[i]))
            icon = mainModel.item(row, 0)->icon();
        const QString text = wrapFileName(files.records[i].fileName);
        items.append(new QStandardItem(icon, text));
        items.last()->setCheckable(VistamoGlobal::showCheckbox);
        cells.append(new QStandardItem(icon, text));
    }

    keepStripInPlace([&] { setStripCells(galleryModel, files.firstRow, cells); });

    for (qsizetype i = 0; i < items.size() && files.firstRow + i < oldRows; ++i) {
        const int row = files.firstRow + static_cast<int>(i);
        records[row] = files.records[i];
        mainModel.setItem(row, 0, items[i]);
    }
    const qsizetype added = std::max<qsizetype>(0, oldRows - files.firstRow);
    records += files.records.mid(added);
    mainModel.invisibleRootItem()->appendRows(items.mid(added));
}

/// Takes out what is left of an earlier walk.
void ThumbsForm::removeRowsFrom(int row)
{
    QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    if (row < mainModel.rowCount())
        mainModel.removeRows(row, mainModel.rowCount() - row);
    if (row < galleryModel.columnCount())
        galleryModel.removeColumns(row, galleryModel.columnCount() - row);
    if (row < records.size())
        records.remove(row, records.size() - row);
}

void ThumbsForm::onRequestGetThumbnail(QFileInfo info, int row)
{
    if (loadThumbnailThread)
        loadThumbnailThread->addRequest(info, row);
}

void ThumbsForm::onEnumFilesFinish(int count)
{
    if (sender() != loadFolderThread)
        return;
    ui->pathValueLabel->setText(tr("Total: ") + QString::number(count) + tr("   Path: ") + currentPath);
    if (loadThumbnailThread)
        loadThumbnailThread->setEnumFinished();
    // A folder on a drive that did not answer at the start is watched from its first walk on.
    if (!directoryWatcher.directories().contains(currentPath))
        directoryWatcher.addPath(currentPath);
}

void ThumbsForm::onCurrentColumnChanged(int col)
{
    if (sender() != loadFolderThread)
        return;
    qDebug() << "onCurrentColumnChanged";
    ui->mainListView->setCurrentIndex(mainModel.index(col, 0));
    ui->galleryTableView->selectColumn(col);
    selectedImageIndex = col;
}

/// At the end of the program: tells all workers to stop and waits for them, but not for one that hangs.
void ThumbsForm::endThreads()
{
    const QDeadlineTimer deadline(longestExitMs);
    if (loadFolderThread)
        loadFolderThread->stop();
    if (loadThumbnailThread)
        loadThumbnailThread->stop();
    if (loadImageThread)
        loadImageThread->stop();
    const std::initializer_list<QThread *> threads = {loadFolderThread, loadThumbnailThread, loadImageThread};
    for (QThread *const thread : threads) {
        if (thread && !thread->wait(deadline))
            leaveBehind(thread);
        else
            delete thread;
    }
    // A thread that hangs may come back to the maker.
    if (!thumbnailMaker->finish(static_cast<int>(deadline.remainingTime())) || threadLeftBehind)
        static_cast<void>(thumbnailMaker.release());
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
}
