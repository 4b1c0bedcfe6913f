#include "shell/ThumbsForm.h"

#include "shared/ColourScheme.h"
#include "shared/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QFileInfo>
#include <QScrollBar>
#include <QtDebug>

#include <algorithm>

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
    if (loadThumbnailThread.isActive())
        loadThumbnailThread->setScrollPosition(VistamoGlobal::scrollPositionRatio,
                                               static_cast<int>(VistamoGlobal::fileDataList.size()));
}

void ThumbsForm::onRightMouseButtonPressEvent(QPoint pos)
{
    contextMenu.exec(ui->mainListView->mapToGlobal(pos));
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
    oldPath.clear();
    loadFolder(currentPath);
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
}

void ThumbsForm::onClickedListView(QModelIndex index)
{
    const QStandardItem *const item = mainModel.itemFromIndex(index);
    const TFileRecord *const record = recordAt(index.row());
    if (!ui->showCheckboxButton->isChecked() || !item || !record)
        return;
    // Qt has applied the click by now; one beside the box repeats the present state.
    ticks.set(record->path, record->fileName, item->checkState() == Qt::Checked);
    checkDeleteButton();
}

void ThumbsForm::onDoubleClickListView(QModelIndex index)
{
    selectedImageIndex = index.row();
    setImageScale(ScaleMode::Fit);
    resizeSelectedImage();
    loadImage();
    initCropMode();
    ui->galleryTableView->selectColumn(selectedImageIndex);
}

void ThumbsForm::removeItemFromList(QString path)
{
    qDebug() << "removeItemFromList: ";
    QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    const QFileInfo info(path);
    const QString fileName = info.fileName();
    const auto match = std::find_if(records.cbegin(), records.cend(), [&](const TFileRecord &record) {
        return record.fileName.compare(fileName, Qt::CaseInsensitive) == 0
               && NativeCaselessPath(record.fullPath) == NativeCaselessPath(path);
    });
    if (match == records.cend())
        return;
    const int row = static_cast<int>(match - records.cbegin());
    mainModel.removeRow(row);
    // The strip has a single row: wanted like this, until the folder is read again.
    galleryModel.removeRow(row);
    records.erase(match);
    // Rows that a walk still adds go by its own count.
    if (VistamoGlobal::vistamoLoadFolderThreadStat)
        folderWatch.reportSoon(currentPath);
    ticks.set(info.path(), info.fileName(), false);
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

void ThumbsForm::applyThemeChange()
{
    applyListStyleSheet();
    thumbnailIcons.clearSquares();
    oldPath.clear();
    loadFolder(currentPath);
}
