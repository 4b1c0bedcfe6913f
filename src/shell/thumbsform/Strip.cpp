#include "shell/ThumbsForm.h"

#include "shared/platform/PathIdentity.h"
#include "ui_ThumbsForm.h"

void ThumbsForm::onClickListView(QModelIndex index)
{
    const TFileRecord *const record = fileList.at(index.column());
    if (record && ExactPath(record->fullPath) == ExactPath(pictureLoader.shown()))
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
