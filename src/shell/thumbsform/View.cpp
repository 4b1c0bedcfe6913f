#include "shell/ThumbsForm.h"

#include "ui_ThumbsForm.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStackedLayout>
#include <QtDebug>
#include <QtMath>

Viewport ThumbsForm::viewport() const
{
    return {viewportOf(ui->scrollArea->size()), devicePixelRatio()};
}

void ThumbsForm::setImageScale(ScaleMode mode)
{
    pictureView.setMode(mode);
    ui->fitVHButton->setChecked(mode == ScaleMode::Fit);
    ui->fitHButton->setChecked(mode == ScaleMode::FitWidth);
    ui->fitVButton->setChecked(mode == ScaleMode::FitHeight);
    ui->fullButton->setChecked(mode == ScaleMode::RealSize);
}

/// Scales the view by the mode, as after a change of the picture or of the room for it, and draws it.
void ThumbsForm::refit()
{
    qDebug() << "resizeSelectedImage: " << viewport().size;
    fitLabelToView(pictureView.refit(viewport()));
    qDebug() << "resizeSelectedImage: displayedImage Size" << pictureView.displayed().size;
    redraw();
}

/// Draws the view at the size that it has.
void ThumbsForm::redraw(bool highQuality)
{
    if (pictureLoader.isClosed())
        return;
    ui->percentResizeLabel->setText(percentText(pictureView.measure()));
    qDebug() << "drawSelectedImage: " << highQuality;
    if (adjustments.isActive())
        adjustments.request(pictureView.picture(), pictureView.displayed().width(), highQuality);
    else
        showView(highQuality);
}

/// Puts the view on the label, with the crop rectangle if crop mode is on.
void ThumbsForm::showView(bool highQuality)
{
    const bool cropping = ui->cropButton->isChecked();
    if (pictureLoader.isClosed() || (cropping && pictureView.displayed().isNull()))
        return;
    std::optional<QRect> crop;
    if (cropping) {
        showCropRect();
        crop = cropTool.draw(pictureView.scale() / devicePixelRatio());
    }
    const DisplayedImage &view = pictureView.redraw(highQuality, viewport());
    ui->imageLabel->showImage(pictureView.picture(), view, crop);
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

void ThumbsForm::fitLabelToView(QSize label)
{
    ui->scrollAreaWidgetContents->setFixedSize(label);
    ui->imageLabel->setFixedSize(label);
}

/// Puts the floating buttons at half height of the scroll area, whose coordinates are used as they are.
void ThumbsForm::placeNavigationButtons()
{
    const NavigationButtons places =
        navigationButtons(ui->scrollArea->size(), ui->back2Button->size(), ui->forward2Button->size());
    ui->back2Button->move(places.back);
    ui->forward2Button->move(places.forward);
}

void ThumbsForm::onLoadHighQualityTimer()
{
    if (pictureView.countDown())
        redraw(true);
}

/// Another screen may have more pixels or fewer to a device-independent one.
void ThumbsForm::onScreenChanged()
{
    if (stackedLayout->currentIndex() == ViewerPage)
        refit();
}

void ThumbsForm::on_fitVHButton_clicked()
{
    setImageScale(ScaleMode::Fit);
    refit();
}

void ThumbsForm::on_fitHButton_clicked()
{
    setImageScale(ScaleMode::FitWidth);
    refit();
}

void ThumbsForm::on_fitVButton_clicked()
{
    setImageScale(ScaleMode::FitHeight);
    refit();
}

void ThumbsForm::on_fullButton_clicked()
{
    setImageScale(ScaleMode::RealSize);
    refit();
}

void ThumbsForm::onNeedToResizeImage(int val)
{
    qDebug() << "onNeedToResizeImage: ";
    qDebug() << "newSize: " << pictureView.displayed().size;
    if (!pictureView.zoom(val, QGuiApplication::primaryScreen()->physicalSize().width()))
        return;
    setImageScale(pictureView.mode());
    redraw();
    fitLabelToView(viewport().labelFor(pictureView.displayed().size));
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
    if (ui->cropButton->isChecked()) {
        const QSizeF view = QSizeF(pictureView.displayed().size) / devicePixelRatio();
        const QSizeF around = (QSizeF(ui->imageLabel->size()) - view) / 2;
        const QPoint at = localPoint - QPoint(qFloor(around.width()), qFloor(around.height()));
        if (const auto shape = cropTool.cursorAt(at))
            setCursor(*shape);
        if (cropTool.drag(point, at, pictureView.picture().size(), pictureView.scale() / devicePixelRatio()))
            redraw();
    }
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
