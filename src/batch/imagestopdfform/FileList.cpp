#include "batch/ImagesToPDFForm.h"

#include "batch/BatchListItem.h"
#include "batch/ImagesToPDFProgressForm.h"
#include "shared/dialogs/FileDialog.h"
#include "shared/platform/FolderPicker.h"
#include "ui_ImagesToPDFForm.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr int showAfterMs = 500; // what is over sooner needs no telling

/// The row itself, or the nearest above it, or else below, that is not among those removed; one past the end
/// if none is left.
int rowLeftBeside(int row, const QList<int> &removed)
{
    const QSet<int> rows(removed.begin(), removed.end());
    int left = row;
    while (rows.contains(left))
        --left;
    if (left >= 0)
        return left;
    while (rows.contains(row))
        ++row;
    return row;
}

} // namespace

void ImagesToPDFForm::clearFileList()
{
    fileListModel.removeRows(0, fileListModel.rowCount());
}

void ImagesToPDFForm::setSourceFiles(const QList<VistamoGlobal::TFileData> &files)
{
    sourceFileList = files;
    QStringList paths;
    for (const VistamoGlobal::TFileData &file : files)
        paths.append(file.fullPath);
    on_ImageFilesSelected(paths);
}

void ImagesToPDFForm::on_openFileAddButton_clicked()
{
    on_ImageFilesSelected(FileDialog::openFileNames(
        tr("Add Image Files"), FolderPicker().picturesFolder(),
        tr("Image Files (*.gif *.heic *.heif *.jpg *.jpeg *.png *.tif *.tiff *.webp)"), this));
}

void ImagesToPDFForm::on_ImageFilesSelected(const QStringList &pathList)
{
    if (pathList.isEmpty())
        return;
    QList<QUrl> urls;
    for (const QString &path : pathList)
        urls.append(QUrl::fromLocalFile(path));
    addUrls(urls);
}

void ImagesToPDFForm::on_AddURL(const QUrl &url)
{
    addUrls({url});
}

void ImagesToPDFForm::on_AddURLs(QList<QUrl> urls)
{
    addUrls(urls);
}

void ImagesToPDFForm::addUrls(const QList<QUrl> &urls)
{
    ui->sourceTreeView->clearSelection();
    if (!addUrlsThreadActive()) {
        showCollected(0);
        collectingTimer.start(showAfterMs);
    }
    startAddUrlsThread(urls);
}

/// Hands files and folders to the thread that adds, or to a new one.
void ImagesToPDFForm::startAddUrlsThread(const QList<QUrl> &urls)
{
    using Thread = ImagesToPDFAddUrlsThread;
    if (addUrlsThreadActive()) {
        addUrlsThread->addUrls(urls);
        return;
    }
    addUrlsThread.set(std::make_unique<Thread>(listIconSize));
    addUrlsThread.on(&Thread::filesFound, [this](const QList<BatchFile> &files) { onFilesFound(files); });
    addUrlsThread.on(&Thread::addUrlsFinish, [this](const QString &lastPath) { onAddUrlsFinish(lastPath); });
    addUrlsThread->addUrls(urls);
    addUrlsThread.start(QThread::InheritPriority, [this](Thread &ended) {
        if (const QList<QUrl> waiting = ended.takeWaiting(); !waiting.isEmpty())
            return startAddUrlsThread(waiting);
        collectingTimer.stop();
        ui->collectedLabel->hide();
        onAddUrlsReadyToClose();
    });
}

void ImagesToPDFForm::onFilesFound(const QList<BatchFile> &files)
{
    fileListModel.addFiles(files);
    showCollected(collected + files.size());
}

void ImagesToPDFForm::showCollected(qsizetype count)
{
    collected = count;
    ui->collectedLabel->setText(tr("Adding images: %1").arg(count));
}

void ImagesToPDFForm::onAddUrlsFinish(QString lastPath)
{
    // During a run its progress stays; the run's end shows the list.
    if (!lastPath.isEmpty() && !progressForm)
        updateFormState(State::List);
}

void ImagesToPDFForm::updateFormState(State state)
{
    const bool empty = state == State::Empty;
    const bool list = state == State::List;
    for (QWidget *const widget :
         std::initializer_list<QWidget *>{ui->line, ui->line_2, ui->sourceTreeView, ui->removeButton,
                                          ui->clearButton, ui->createPdfButton, ui->upButton, ui->downButton})
        widget->setVisible(list);
    ui->openFileAddButton->setVisible(empty || list);
    ui->backButton->setVisible(empty || list);
    ui->noItemFrame->setVisible(empty);
    ui->previewImage->setVisible(list && !selectedRows().isEmpty());
    if (list)
        setToolMode(convertMode);
}

void ImagesToPDFForm::on_itemSelection_changed(const QItemSelection &selected, const QItemSelection &)
{
    ui->previewImage->setVisible(!selected.isEmpty());
    updateItemSelection(static_cast<int>(selected.size()));
}

void ImagesToPDFForm::updateItemSelection(int count)
{
    itemSelected = count >= 1;
    for (QWidget *const button :
         std::initializer_list<QWidget *>{ui->removeButton, ui->upButton, ui->downButton})
        button->setEnabled(itemSelected);
    if (!itemSelected) {
        ui->previewImage->setText(tr("Preview"));
        return;
    }
    const QModelIndexList selected = ui->sourceTreeView->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return;
    canMoveUp = selected.first().row() != 0;
    canMoveDown = selected.last().row() != fileListModel.rowCount() - 1;
    ui->upButton->setEnabled(canMoveUp);
    ui->downButton->setEnabled(canMoveDown);
    selectedFile = fullPathFromItemText(selected.first().data().toString());
    ui->sourceTreeView->selectedPath = selectedFile;
    showPreviewImage(selectedFile, false);
}

/// In the order of the selection. Its ranges do not meet; the model's own list of rows looks at all of them
/// for each row.
QList<int> ImagesToPDFForm::selectedRows() const
{
    QList<int> rows;
    for (const QItemSelectionRange &range : ui->sourceTreeView->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    return rows;
}

void ImagesToPDFForm::on_removeButton_clicked()
{
    const QList<int> rows = selectedRows();
    ui->sourceTreeView->clearSelection();
    const int current = rowLeftBeside(ui->sourceTreeView->currentIndex().row(), rows);
    ui->sourceTreeView->selectionModel()->setCurrentIndex(fileListModel.index(current, 0),
                                                          QItemSelectionModel::NoUpdate);
    fileListModel.removeFiles(rows);
    if (fileListModel.rowCount() == 0)
        updateFormState(State::Empty);
}

void ImagesToPDFForm::on_upButton_clicked()
{
    moveSelectedRows(-1);
}

void ImagesToPDFForm::on_downButton_clicked()
{
    moveSelectedRows(1);
}

/// Moves row by row, in the order of the selection; a row at the end of the list stays there. Leaves one row
/// selected: the neighbour of the topmost.
void ImagesToPDFForm::moveSelectedRows(int step)
{
    const QList<int> rows = selectedRows();
    if (rows.isEmpty())
        return;
    ui->sourceTreeView->selectionModel()->clear(); // the row shown next is told to readers, and scrolled to
    fileListModel.moveFiles(rows, step);
    const int top = *std::min_element(rows.begin(), rows.end());
    const int current = std::clamp(top + step, 0, fileListModel.rowCount() - 1);
    ui->sourceTreeView->setCurrentIndex(fileListModel.index(current, 0));
}

void ImagesToPDFForm::on_clearButton_clicked()
{
    clearFileList();
    updateFormState(State::Empty);
}
