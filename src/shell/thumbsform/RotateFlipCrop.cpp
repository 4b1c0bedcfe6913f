#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"
#include "viewer/PictureTurning.h"

#include <QScopedValueRollback>
#include <QtDebug>

namespace {

// A crop rectangle that is no wider does not outlive its picture, pixels.
constexpr int narrowestKept = 64;

} // namespace

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
    updatingCropRect = true;
    const bool on = ui->cropButton->isChecked();
    if (on)
        initCropRect();
    ui->imageLabel->setCropMode(on);
    ui->cropWidget->setVisible(on);
    if (!on) {
        QRect area = ui->scrollArea->geometry();
        area.setTop(ui->cropWidget->geometry().top());
        ui->scrollArea->setGeometry(area);
    }
    ui->scrollArea->updateGeometry();
    resizeSelectedImage();
    updatingCropRect = false;
    placeNavigationButtons();
}

/// Keeps the crop rectangle for a picture of the same size, or makes it the middle quarter.
void ThumbsForm::initCropRect()
{
    if (selectedImage.size() != previousImageSize || cropRect.width() <= narrowestKept)
        cropRect = defaultCropRect(selectedImage.size());
}

/// In crop mode: the rectangle for a picture that has just come.
void ThumbsForm::initCropMode()
{
    if (!ui->cropButton->isChecked())
        return;
    initCropRect();
    drawSelectedImage(false);
}

/// Takes the crop rectangle into the view and into the spin boxes, which cannot hold every value.
void ThumbsForm::showCropRect()
{
    const QScopedValueRollback updating(updatingCropRect, true);
    cropDisplayRect = cropRectOnView(cropRect, scaleFactor);
    ui->leftSpinBox->setValue(cropRect.left());
    ui->topSpinBox->setValue(cropRect.top());
    ui->widthSpinBox->setValue(cropRect.width());
    ui->heightSpinBox->setValue(cropRect.height());
}

/// One step of a drag.
/// @param point the pointer on the screen
/// @param x, y  the pointer in the view, pixels
void ThumbsForm::resizeCropRect(QPoint point, int x, int y)
{
    if (cropResizeMode == CRNone)
        return;
    if (cropResizeMode == CRTopRight)
        qDebug() << "CRTopRight";
    const QScopedValueRollback updating(updatingCropRect, true);
    cropRect = draggedCropRect(cropResizeMode, cropRect, selectedImage.size(), scaleFactor,
                               point - cropDragPos, QPoint(x, y));
    drawSelectedImage(false);
    cropDragPos = point;
}

void ThumbsForm::startCropDrag(QPoint point)
{
    const CropResizeMode mode = cropResizeModeFor(cursor().shape(), cropHandleFarSide);
    if (mode == CRNone)
        return;
    cropResizeMode = mode;
    cropDragPos = point;
    cropDragging = true;
}

void ThumbsForm::moveOverCrop(QPoint point, QPoint localPoint)
{
    const QPoint at = localPoint
                      - QPoint((ui->imageLabel->width() - displayedImage.width()) / 2,
                               (ui->imageLabel->height() - displayedImage.height()) / 2);
    if (!cropDragging) {
        const CropHit hit = cropHit(cropDisplayRect, at);
        setCursor(hit.cursor);
        cropHandleFarSide = hit.farSide.value_or(cropHandleFarSide);
    }
    resizeCropRect(point, at.x(), at.y());
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
    if (updatingCropRect)
        return;
    (cropRect.*set)(value);
    drawSelectedImage(false);
}
