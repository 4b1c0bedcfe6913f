#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"

/// Makes a change to the picture and to its view.
void ThumbsForm::editPicture(const PictureEdit &edit)
{
    pictureView.edit(edit);
    redraw();
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
    pictureView.turn(angle > 0);
    redraw();
    fitLabelToView(viewport().labelFor(pictureView.displayed().size));
}

void ThumbsForm::on_flipHButton_clicked()
{
    pictureView.mirror(Qt::Horizontal);
    redraw();
}

void ThumbsForm::on_flipVButton_clicked()
{
    pictureView.mirror(Qt::Vertical);
    redraw();
}

void ThumbsForm::on_cropButton_clicked()
{
    const auto updating = cropTool.updateSpinBoxes();
    const bool on = ui->cropButton->isChecked();
    if (on)
        cropTool.init(pictureView.picture().size());
    ui->imageLabel->setCropMode(on);
    ui->cropWidget->setVisible(on);
    if (!on) {
        QRect area = ui->scrollArea->geometry();
        area.setTop(ui->cropWidget->geometry().top());
        ui->scrollArea->setGeometry(area);
    }
    ui->scrollArea->updateGeometry();
    refit();
    placeNavigationButtons();
}

/// In crop mode: the rectangle for a picture that has just come.
void ThumbsForm::initCropMode()
{
    if (!ui->cropButton->isChecked())
        return;
    cropTool.init(pictureView.picture().size());
    redraw();
}

void ThumbsForm::on_leftSpinBox_valueChanged(int arg1)
{
    if (cropTool.set(&QRect::setLeft, arg1))
        redraw();
}

void ThumbsForm::on_topSpinBox_valueChanged(int arg1)
{
    if (cropTool.set(&QRect::setTop, arg1))
        redraw();
}

void ThumbsForm::on_widthSpinBox_valueChanged(int arg1)
{
    if (cropTool.set(&QRect::setWidth, arg1))
        redraw();
}

void ThumbsForm::on_heightSpinBox_valueChanged(int arg1)
{
    if (cropTool.set(&QRect::setHeight, arg1))
        redraw();
}
