#include "shell/ThumbsForm.h"

#include "library/FileNames.h"
#include "shared/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QDeadlineTimer>
#include <QScrollBar>
#include <QtDebug>

#include <algorithm>
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

/// Adds cells to the strip's one row, from column `first` on. The row is taken out and put back: columns
/// inserted one by one cost the square of their number.
void addStripCells(QStandardItemModel &strip, qsizetype first, const QList<QStandardItem *> &cells)
{
    QList<QStandardItem *> row = strip.takeRow(0);
    // The strip was emptied during the walk: it is filled by the next.
    if (first == row.size())
        row += cells;
    else
        qDeleteAll(cells);
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
    qDebug() << "vistamoLoadThumbnailThreadStat: " << loadThumbnailThread.isActive();

    if (!VistamoGlobal::vistamoLoadFolderThreadStat && !loadThumbnailThread.isActive()) {
        reloadWanted = false;
        startLoadThreads(path);
        return;
    }
    reloadWanted = true;
    stopFolderThread();
    stopThumbnailThread();
}

void ThumbsForm::startLoadThreads(const QString &path)
{
    ++currentLoad;
    startThumbnailThread();
    if (loadFolderThread.isActive())
        return;
    VistamoGlobal::vistamoLoadFolderThreadStat = true;
    using Thread = VistamoLoadFolderThread;
    loadFolderThread.set(std::make_unique<Thread>(currentLoad, path, VistamoGlobal::selectedFileName));
    loadFolderThread.on(&Thread::filesFound, [this](const FoundFiles &files) { onFilesFound(files); });
    loadFolderThread.on(&Thread::enumFilesFinish, [this](int count) { onEnumFilesFinish(count); });
    loadFolderThread.on(&Thread::currentColumnChanged, [this](int col) { onCurrentColumnChanged(col); });
    loadFolderThread.start(QThread::InheritPriority, [this](Thread &) { onLoadFolderFinish(); });
}

void ThumbsForm::startThumbnailThread()
{
    if (loadThumbnailThread.isActive())
        return;
    using Thread = VistamoLoadThumbnailThread;
    loadThumbnailThread.set(std::make_unique<Thread>(currentLoad, thumbnailMaker.get()));
    loadThumbnailThread.on(&Thread::thumbnailsFound, [this](const auto &found) { onThumbnailsFound(found); });
    loadThumbnailThread.start(QThread::InheritPriority, [this](Thread &) { onLoadThumbnailFinish(); });
}

void ThumbsForm::stopFolderThread()
{
    loadFolderThread.stop();
    waitForStoppedThreads();
}

void ThumbsForm::stopThumbnailThread()
{
    loadThumbnailThread.stop();
    waitForStoppedThreads();
}

/// Gives threads that were told to stop a moment to end.
void ThumbsForm::waitForStoppedThreads()
{
    if (!refreshTimer) {
        refreshTimer = new QTimer(this);
        refreshTimer->setSingleShot(true);
        connect(refreshTimer, SIGNAL(timeout()), SLOT(onRefreshTimer()));
    }
    refreshTimer->start(longestEndMs);
}

/// The moment is over: a thread that still hangs is left behind, and the program goes on without it.
void ThumbsForm::onRefreshTimer()
{
    if (loadThumbnailThread.isStopping())
        loadThumbnailThread.leaveBehind();
    if (loadFolderThread.isStopping()) {
        loadFolderThread.leaveBehind();
        folderThreadEnded();
    }
    goOnWithoutLoadThreads();
}

void ThumbsForm::onLoadFolderFinish()
{
    qDebug() << "onLoadFolderFinish Start";
    folderThreadEnded();
    goOnWithoutLoadThreads();
    qDebug() << "onLoadFolderFinish End";
}

void ThumbsForm::folderThreadEnded()
{
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
    const QString path = std::exchange(pendingFolderRemoval, QString());
    if (path.isEmpty())
        return;
    // The walk was cut short, so the folder on show is to be read again if it stays.
    oldPath.clear();
    removeFolder(path);
}

void ThumbsForm::onLoadThumbnailFinish()
{
    qDebug() << "onLoadThumbnailFinish Start";
    goOnWithoutLoadThreads();
    qDebug() << "onLoadThumbnailFinish End";
}

/// The second half of a load that had to stop another: of several folders picked meanwhile the last counts.
void ThumbsForm::goOnWithoutLoadThreads()
{
    if (VistamoGlobal::vistamoLoadFolderThreadStat || loadThumbnailThread.isActive() || !reloadWanted)
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
    thumbnailIcons.clear();
}

void ThumbsForm::onFilesFound(const FoundFiles &files)
{
    if (files.load != currentLoad)
        return;
    if (files.firstRow == 0)
        restoreStrip();
    addRows(files);
    if (files.complete) {
        removeRowsFrom(files.firstRow + static_cast<int>(files.records.size()));
        // A folder on a drive that did not answer at the start is watched from its first walk on.
        folderWatch.watch(files.path);
        followShownFile();
    }
    tellScrollPosition();
    for (qsizetype i = 0; i < files.infos.size(); ++i)
        onRequestGetThumbnail(files.infos[i], files.firstRow + static_cast<int>(i));
}

/// Fills the strip again if rows have left the list since it was filled.
void ThumbsForm::restoreStrip()
{
    if (galleryModel.columnCount() == mainModel.rowCount())
        return;
    QList<QStandardItem *> cells;
    for (int row = 0; row < mainModel.rowCount(); ++row)
        cells.append(new QStandardItem(mainModel.item(row, 0)->icon(), mainModel.item(row, 0)->text()));
    keepStripInPlace([&] {
        galleryModel.clear();
        addStripCells(galleryModel, 0, cells);
    });
}

/// Publishes a batch: rows of an earlier walk are used again, the others are added, to the strip first.
void ThumbsForm::addRows(const FoundFiles &files)
{
    QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    const qsizetype reused = std::clamp<qsizetype>(records.size() - files.firstRow, 0, files.records.size());
    bool changed = false;
    for (qsizetype i = 0; i < reused; ++i)
        changed |= updateRow(files.firstRow + static_cast<int>(i), files.records[i]);
    // Check boxes and names of other lengths: items change their sizes, but not their places.
    if (changed)
        ui->mainListView->doItemsLayout();

    const QIcon blank = thumbnailIcons.blank();
    QList<QStandardItem *> items;
    QList<QStandardItem *> cells;
    items.reserve(files.records.size() - reused);
    cells.reserve(files.records.size() - reused);
    for (qsizetype i = reused; i < files.records.size(); ++i) {
        const QString text = wrapFileName(files.records[i].fileName);
        items.append(new QStandardItem(blank, text));
        items.last()->setCheckable(VistamoGlobal::showCheckbox);
        cells.append(new QStandardItem(blank, text));
    }
    if (items.isEmpty())
        return;
    keepStripInPlace([&] { addStripCells(galleryModel, files.firstRow + reused, cells); });
    records += files.records.mid(reused);
    mainModel.invisibleRootItem()->appendRows(items);
}

/// Uses a row of an earlier walk for `record`, and tells whether it may look different. The same file keeps
/// its icon and its tick. Item and cell stay in any case, since to put in new ones costs a search for each.
bool ThumbsForm::updateRow(int row, const TFileRecord &record)
{
    QStandardItem *const item = mainModel.item(row, 0);
    const TFileRecord old = std::exchange(VistamoGlobal::fileDataList[row], record);
    const bool boxChanged = item->isCheckable() != VistamoGlobal::showCheckbox;
    item->setCheckable(VistamoGlobal::showCheckbox);
    if (isUnchanged(old, record))
        return boxChanged;
    item->setCheckState(Qt::Unchecked);
    const QIcon blank = thumbnailIcons.blank();
    const QString text = wrapFileName(record.fileName);
    for (QStandardItem *const entry : {item, galleryModel.item(0, row)}) {
        if (entry) {
            entry->setText(text);
            entry->setIcon(blank);
        }
    }
    return true;
}

/// Finds the file that the viewer shows again, once the list has been read anew.
void ThumbsForm::followShownFile()
{
    if (viewerClosed)
        return;
    const QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    const QString fileName = QFileInfo(shownPath).fileName();
    const auto found = std::find_if(records.cbegin(), records.cend(), [&](const TFileRecord &file) {
        return file.fileName == fileName
               && NativeCaselessPath(file.fullPath) == NativeCaselessPath(shownPath);
    });
    if (found == records.cend())
        return;
    selectedImageIndex = static_cast<int>(found - records.cbegin());
    ui->galleryTableView->selectColumn(selectedImageIndex);
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
    if (loadThumbnailThread.isActive())
        loadThumbnailThread->addRequest(info, row);
}

void ThumbsForm::onEnumFilesFinish(int count)
{
    ui->pathValueLabel->setText(tr("Total: ") + QString::number(count) + tr("   Path: ") + currentPath);
    if (loadThumbnailThread.isActive())
        loadThumbnailThread->setEnumFinished();
}

void ThumbsForm::onCurrentColumnChanged(int col)
{
    qDebug() << "onCurrentColumnChanged";
    ui->mainListView->setCurrentIndex(mainModel.index(col, 0));
    ui->galleryTableView->selectColumn(col);
    selectedImageIndex = col;
}

/// At the end of the program: tells all workers to stop and waits for them, but not for one that hangs.
void ThumbsForm::endThreads()
{
    const QDeadlineTimer deadline(longestExitMs);
    const auto forAll = [this](const auto &action) {
        action(loadFolderThread);
        action(loadThumbnailThread);
        action(loadImageThread);
        action(decodedAhead);
        action(processImageThread);
    };
    forAll([](auto &worker) { worker.stop(); });
    forAll([&](auto &worker) { worker.end(deadline); });
    StoppableThread::endReleased(deadline);
    // A thread that hangs may come back to the maker.
    StoppableThread::someLeftBehind |= !thumbnailMaker->finish(static_cast<int>(deadline.remainingTime()));
    if (StoppableThread::someLeftBehind)
        static_cast<void>(thumbnailMaker.release());
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
}
