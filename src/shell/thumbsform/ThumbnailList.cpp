#include "shell/ThumbsForm.h"

#include "shared/platform/ColourScheme.h"
#include "shared/platform/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QApplication>
#include <QFileInfo>
#include <QScrollBar>
#include <QtDebug>

#include <algorithm>
#include <iterator>

namespace {

// Together with the limits: two sizes.
constexpr int iconSizeStep = 128;

} // namespace

void ThumbsForm::onContentScrolledEvent(int value)
{
    const int maximum = ui->mainListView->verticalScrollBar()->maximum();
    VistamoGlobal::scrollPositionRatio = static_cast<float>(value) / static_cast<float>(maximum);
    tellScrollPosition();
}

void ThumbsForm::tellScrollPosition()
{
    folderLoad.setScrollPosition(VistamoGlobal::scrollPositionRatio, fileList.count());
}

void ThumbsForm::onRightMouseButtonPressEvent(QPoint pos)
{
    contextMenu.openFor(selectedFiles(), ui->mainListView->mapToGlobal(pos));
}

/// The files that are selected, or that the open menu is about.
QStringList ThumbsForm::selectedFiles() const
{
    if (contextMenu.files())
        return *contextMenu.files();
    QStringList files;
    for (const QModelIndex &index : ui->mainListView->selectionModel()->selectedIndexes()) {
        if (const TFileRecord *const record = fileList.at(index.row()))
            files.append(record->fullPath);
    }
    return files;
}

void ThumbsForm::onMainListViewSelectionChanged(QItemSelection, QItemSelection)
{
    checkDeleteButton();
}

void ThumbsForm::on_plusButton_clicked()
{
    if (VistamoGlobal::iconSize < maxIconSize)
        VistamoGlobal::iconSize += iconSizeStep;
    checkIconSizeButtons();
    ui->mainListView->setIconSize(QSize(VistamoGlobal::iconSize, VistamoGlobal::iconSize));
}

void ThumbsForm::on_minButton_clicked()
{
    if (VistamoGlobal::iconSize > minIconSize)
        VistamoGlobal::iconSize -= iconSizeStep;
    checkIconSizeButtons();
    ui->mainListView->setIconSize(QSize(VistamoGlobal::iconSize, VistamoGlobal::iconSize));
}

void ThumbsForm::onZoomRequested(int step)
{
    (step > 0 ? ui->plusButton : ui->minButton)->click();
}

void ThumbsForm::checkIconSizeButtons()
{
    VistamoGlobal::iconSize = std::clamp(VistamoGlobal::iconSize, minIconSize, maxIconSize);
    ui->plusButton->setEnabled(VistamoGlobal::iconSize < maxIconSize);
    ui->minButton->setEnabled(VistamoGlobal::iconSize > minIconSize);
}

void ThumbsForm::on_showCheckboxButton_clicked()
{
    setCheckboxVisible(true);
}

void ThumbsForm::on_hideCheckboxButton_clicked()
{
    setCheckboxVisible(false);
}

void ThumbsForm::setCheckboxVisible(bool visible)
{
    VistamoGlobal::showCheckbox = visible;
    folderLoad.reload();
    ui->showCheckboxButton->setChecked(visible);
    ui->hideCheckboxButton->setChecked(!visible);
    checkDeleteButton();
}

void ThumbsForm::checkDeleteButton()
{
    const bool enabled = ui->showCheckboxButton->isChecked()
                             ? !ticks.isEmpty()
                             : !ui->mainListView->selectionModel()->selectedRows(0).isEmpty();
    ui->deleteButton->setEnabled(enabled);
    showTickCount();
}

/// Tells how many files are ticked, in all folders and in the one on show.
void ThumbsForm::showTickCount()
{
    ui->tickCountLabel->setText(
        tr("%1 ticked, %2 of them here").arg(ticks.count()).arg(ticks.countOf(folderLoad.path())));
    ui->tickCountLabel->setVisible(ticks.count() > 0);
}

void ThumbsForm::onClickedListView(QModelIndex index)
{
    const QStandardItem *const item = fileList.list().itemFromIndex(index);
    const TFileRecord *const record = fileList.at(index.row());
    if (!ui->showCheckboxButton->isChecked() || !item || !record)
        return;
    const int lastRow = lastTicked.isEmpty() ? -1 : fileList.rowOf(lastTicked);
    if (QApplication::keyboardModifiers() == Qt::ShiftModifier && lastRow >= 0) {
        const bool ticked = fileList.list().item(lastRow)->checkState() == Qt::Checked;
        tickRows(std::min(index.row(), lastRow), std::max(index.row(), lastRow), ticked);
        return;
    }
    // Qt has applied the click by now; one beside the box repeats the present state.
    const bool ticked = item->checkState() == Qt::Checked;
    if (ticked != ticks.contains(record->path, record->fileName))
        lastTicked = record->fullPath;
    ticks.set(record->path, record->fileName, ticked);
    checkDeleteButton();
}

/// Ticks the files in these rows, or takes their ticks off; nothing while there are no check boxes.
void ThumbsForm::tickRows(int first, int last, bool ticked)
{
    if (!ui->showCheckboxButton->isChecked() || first > last)
        return;
    ticks.set(fileList.setTicked(first, last, ticked), ticked);
    checkDeleteButton();
}

/// Ticks all files of the folder on show, those too that a walk has yet to find, or takes their ticks off.
void ThumbsForm::tickFolder(bool ticked)
{
    if (!ui->showCheckboxButton->isChecked())
        return;
    if (ExactPath(fileList.folder()) == ExactPath(folderLoad.path())) // or the rows are still the last one's
        tickRows(0, fileList.count() - 1, ticked);
    const FolderLoad::State state = folderLoad.state();
    if (state == FolderLoad::State::Running || state == FolderLoad::State::Stopping)
        restOf = folderLoad.path();
    restTicked = ticked;
}

/// Does the same to the rows that a walk has added.
/// @param before the names of those that were there
void ThumbsForm::tickRest(const QSet<QString> &before)
{
    for (int row = 0; row < fileList.count(); ++row) {
        const int first = row;
        while (row < fileList.count() && !before.contains(fileList.at(row)->fileName))
            ++row;
        tickRows(first, row - 1, restTicked);
    }
}

void ThumbsForm::onDoubleClickListView(QModelIndex index)
{
    selectedImageIndex = index.row();
    setImageScale(ScaleMode::Fit);
    refit();
    loadImage();
    initCropMode();
}

/// Takes files that have left the disk out of the list; those of the folder on show lose their ticks, and
/// those of the one that was when a move began.
void ThumbsForm::removeItemFromList(const QStringList &files)
{
    qDebug() << "removeItemFromList: " << files.size();
    // Rows that a walk still adds go by its own count, and the strip is filled by a walk alone.
    if (fileList.remove(files))
        folderWatch.reportSoon(folderLoad.path());
    // Also those whose rows have gone already.
    QStringList here;
    std::copy_if(files.begin(), files.end(), std::back_inserter(here), [this](const QString &file) {
        const NativeCaselessPath folder(QFileInfo(file).path());
        return folder == NativeCaselessPath(fileList.folder()) || folder == NativeCaselessPath(movedFrom);
    });
    ticks.untick(here);
    checkDeleteButton();
}

void ThumbsForm::applyListStyleSheet()
{
    const QString colour = isDarkColourScheme() ? QStringLiteral("white") : QStringLiteral("black");
    // The second sheet replaces the first: the border of the unticked box is the one that shows.
    ui->mainListView->setStyleSheet(
        QStringLiteral("QListView::indicator:checked { border: 1px solid %1; }").arg(colour));
    ui->mainListView->setStyleSheet(
        QStringLiteral("QListView::indicator:unchecked { border: 1px solid %1; }").arg(colour));
}

/// Icons stand out too little on the face of a pressed button.
void ThumbsForm::colourButtons()
{
    for (auto *const button : findChildren<QToolButton *>()) {
        if (button->isCheckable() && button->autoRaise())
            putOnGround(*button, palette());
    }
}

void ThumbsForm::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        colourButtons();
}

void ThumbsForm::applyThemeChange()
{
    applyListStyleSheet();
    fileList.icons().clearSquares();
    folderLoad.reload();
}
