#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtDebug>

QSize ThumbsForm::viewport() const
{
    return viewportOf(ui->scrollArea->size());
}

void ThumbsForm::setImageScale(ScaleMode mode)
{
    imageScale = mode;
    ui->fitVHButton->setChecked(mode == ScaleMode::Fit);
    ui->fitHButton->setChecked(mode == ScaleMode::FitWidth);
    ui->fitVButton->setChecked(mode == ScaleMode::FitHeight);
    ui->fullButton->setChecked(mode == ScaleMode::RealSize);
}

void ThumbsForm::resizeSelectedImage()
{
    qDebug() << "resizeSelectedImage: " << viewport();
    const ViewLayout layout = viewLayout(imageScale, selectedImage.size(), viewport(), scaleFactor);
    displayedImage = {layout.image};
    fitLabelToView(layout.label);
    qDebug() << "resizeSelectedImage: displayedImage Size" << displayedImage.size;
    drawSelectedImage(false);
}

void ThumbsForm::fitLabelToView(QSize label)
{
    ui->scrollAreaWidgetContents->setFixedSize(label);
    ui->imageLabel->setFixedSize(label);
}

void ThumbsForm::on_fitVHButton_clicked()
{
    setImageScale(ScaleMode::Fit);
    resizeSelectedImage();
}

void ThumbsForm::on_fitHButton_clicked()
{
    setImageScale(ScaleMode::FitWidth);
    resizeSelectedImage();
}

void ThumbsForm::on_fitVButton_clicked()
{
    setImageScale(ScaleMode::FitHeight);
    resizeSelectedImage();
}

void ThumbsForm::on_fullButton_clicked()
{
    setImageScale(ScaleMode::RealSize);
    resizeSelectedImage();
}

void ThumbsForm::onNeedToResizeImage(int val)
{
    qDebug() << "onNeedToResizeImage: ";
    qDebug() << "newSize: " << displayedImage.size;
    const double screenMm = QGuiApplication::primaryScreen()->physicalSize().width();
    const std::optional<int> width = zoomStep(displayedImage.width(), selectedImage.width(), val, screenMm);
    if (!width)
        return;
    displayedImage = {scaledToWidth(selectedImage.size(), *width)};
    setImageScale(ScaleMode::Free);
    drawSelectedImage(false);
    fitLabelToView(displayedImage.size.expandedTo(viewport()));
}

void ThumbsForm::onStartDragImage(QPoint point)
{
    if (ui->cropButton->isChecked()) {
        cropTool.startDrag(cursor().shape(), point);
        return;
    }
    panning.begin(point);
}

void ThumbsForm::onMouseMove(QPoint point, QPoint localPoint)
{
    if (ui->cropButton->isChecked())
        moveOverCrop(point, localPoint);
    panning.moveTo(point, *ui->scrollArea);
}

void ThumbsForm::onEndDragImage()
{
    panning.end();
    cropTool.endDrag();
}

void ThumbsForm::onMouseLeave()
{
    setCursor(Qt::ArrowCursor);
}
