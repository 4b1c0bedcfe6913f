#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"

#include <QScrollBar>

void ThumbsForm::onClickListView(QModelIndex index)
{
    if (index.column() == selectedImageIndex)
        return;
    selectedImageIndex = index.column();
    loadImage();
    initCropMode();
}

void ThumbsForm::on_galleryButton_clicked()
{
    VistamoGlobal::showGallery = ui->galleryButton->isChecked();
    ui->galleryTableView->setVisible(VistamoGlobal::showGallery);
    if (!VistamoGlobal::showGallery) {
        QRect area = ui->scrollArea->geometry();
        area.setBottom(ui->galleryTableView->geometry().bottom());
        ui->scrollArea->setGeometry(area);
    }
    resizeSelectedImage();
    placeNavigationButtons();
}

/// Makes a change to the strip's columns without losing its selected column and its scroll position.
void ThumbsForm::keepStripInPlace(const std::function<void()> &change)
{
    const QModelIndexList selected = ui->galleryTableView->selectionModel()->selectedIndexes();
    const int column = selected.isEmpty() ? -1 : selected.first().column();
    QScrollBar *const bar = ui->galleryTableView->horizontalScrollBar();
    const int position = bar->value();
    change();
    if (column >= 0)
        ui->galleryTableView->selectColumn(column);
    bar->setValue(position);
}
