#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"

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
    refit();
    placeNavigationButtons();
}
