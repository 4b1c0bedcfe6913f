#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"
#include "viewer/PictureTurning.h"

/// Makes a change to the picture in full and, where the view has pixels of its own, to these.
void ThumbsForm::editPicture(const std::function<QImage(const QImage &)> &edit)
{
    const bool same = displayedImage.pixels.cacheKey() == selectedImage.cacheKey();
    selectedImage = QPixmap::fromImage(edit(selectedImage.toImage()));
    displayedImage.pixels = same ? selectedImage : QPixmap::fromImage(edit(displayedImage.pixels.toImage()));
}

void ThumbsForm::on_rotateLeftButton_clicked()
{
    rotateImage(-90);
}

void ThumbsForm::on_rotateRightButton_clicked()
{
    rotateImage(90);
}

/// Turns the picture clockwise by 90 or -90 degrees. The scale stays, whatever the view makes of it.
void ThumbsForm::rotateImage(int angle)
{
    editPicture([angle](const QImage &image) { return PictureTurning::rotated(image, angle > 0); });
    displayedImage.size.transpose();
    drawSelectedImage(false);
    fitLabelToView(displayedImage.size.expandedTo(viewport()));
}

void ThumbsForm::on_flipHButton_clicked()
{
    flipImage(Qt::Horizontal);
}

void ThumbsForm::on_flipVButton_clicked()
{
    flipImage(Qt::Vertical);
}

void ThumbsForm::flipImage(Qt::Orientation direction)
{
    editPicture([direction](const QImage &image) { return PictureTurning::mirrored(image, direction); });
    drawSelectedImage(false);
}

void ThumbsForm::on_cropButton_clicked()
{
    const bool on = ui->cropButton->isChecked();
    if (on)
        cropTool.init(selectedImage.size());
    ui->imageLabel->setCropMode(on);
    ui->cropWidget->setVisible(on);
    if (!on) {
        QRect area = ui->scrollArea->geometry();
        area.setTop(ui->cropWidget->geometry().top());
        ui->scrollArea->setGeometry(area);
    }
    ui->scrollArea->updateGeometry();
    resizeSelectedImage();
    placeNavigationButtons();
}

/// In crop mode: the rectangle for a picture that has just come.
void ThumbsForm::initCropMode()
{
    if (!ui->cropButton->isChecked())
        return;
    cropTool.init(selectedImage.size());
    drawSelectedImage(false);
}

/// Takes the crop rectangle into the spin boxes, which cannot hold every value.
void ThumbsForm::showCropRect()
{
    const auto updating = cropTool.updateSpinBoxes();
    const QRect rect = cropTool.rect();
    ui->leftSpinBox->setValue(rect.left());
    ui->topSpinBox->setValue(rect.top());
    ui->widthSpinBox->setValue(rect.width());
    ui->heightSpinBox->setValue(rect.height());
}

void ThumbsForm::moveOverCrop(QPoint point, QPoint localPoint)
{
    const QPoint at = localPoint
                      - QPoint((ui->imageLabel->width() - displayedImage.width()) / 2,
                               (ui->imageLabel->height() - displayedImage.height()) / 2);
    if (const auto shape = cropTool.cursorAt(at))
        setCursor(*shape);
    if (cropTool.drag(point, at, selectedImage.size(), scaleFactor))
        drawSelectedImage(false);
}

void ThumbsForm::on_leftSpinBox_valueChanged(int arg1)
{
    setCropSide(&QRect::setLeft, arg1);
}

void ThumbsForm::on_topSpinBox_valueChanged(int arg1)
{
    setCropSide(&QRect::setTop, arg1);
}

void ThumbsForm::on_widthSpinBox_valueChanged(int arg1)
{
    setCropSide(&QRect::setWidth, arg1);
}

void ThumbsForm::on_heightSpinBox_valueChanged(int arg1)
{
    setCropSide(&QRect::setHeight, arg1);
}

void ThumbsForm::setCropSide(void (QRect::*set)(int), int value)
{
    if (cropTool.set(set, value))
        drawSelectedImage(false);
}
