#include "shell/ThumbsForm.h"

#include "viewer/ColourFilters.h"
#include "viewer/VistamoFilterDialog.h"

#include <QtDebug>

namespace {

constexpr int sepia = 3; // among the filters of `applyFilter`
constexpr QPoint dialogOffset(10, 10);

} // namespace

void ThumbsForm::onGrayscaleAction()
{
    editPicture(ColourFilters::grayscale);
    drawSelectedImage(false);
}

void ThumbsForm::onSepiaAction()
{
    editPicture([](const QImage &image) { return VistamoGlobal().applyFilter(image, sepia, 0); });
    drawSelectedImage(false);
}

void ThumbsForm::onContrastAction()
{
    showFilterDialog(1);
}

void ThumbsForm::onBrightnessAction()
{
    showFilterDialog(0);
}

void ThumbsForm::onGammaAction()
{
    showFilterDialog(2);
}

void ThumbsForm::onInvertColorsAction()
{
    showFilterDialog(4);
}

void ThumbsForm::onResetImageAction()
{
    // The row may hold another file by now.
    if (fileList.at(selectedImageIndex))
        loadSelectedImage(shownPath);
}

/// Opens the adjustments dialog, which has all controls whatever the entry of the menu.
void ThumbsForm::showFilterDialog(int)
{
    startProcessImageThread();
    const QImage image = selectedImage.toImage();
    if (!filterDialog) {
        filterDialog = new VistamoFilterDialog(this);
        connect(filterDialog, SIGNAL(setFilter(int, int, int, int)), SLOT(on_setFilter(int, int, int, int)));
        connect(filterDialog, SIGNAL(adjustmentsVisible(bool)), SLOT(on_adjustmentsVisible(bool)));
        connect(filterDialog, SIGNAL(applyChanges()), SLOT(on_filterDialogApplyChanges()));
        connect(filterDialog, SIGNAL(cancelChanges()), SLOT(on_filterDialogCancelChanges()));
    }
    QRect place = filterDialog->geometry();
    place.setTopLeft(mapToGlobal(geometry().topLeft()) + dialogOffset);
    filterDialog->setGeometry(place);
    filterDialog->setImage(image);
    filterDialog->show();
}

void ThumbsForm::startProcessImageThread()
{
    adjustments.start();
}

void ThumbsForm::stopProcessImageThread()
{
    adjustments.requestFinish();
}

void ThumbsForm::on_filterFinished()
{
    if (adjustments.isActive())
        drawSelectedImage(false);
}

void ThumbsForm::on_filterResultAvailable(QImage image)
{
    // The picture may be another one by now: the next draw goes by the width.
    const QSize size = scaledToWidth(selectedImage.size(), qRound(image.deviceIndependentSize().width()));
    image.setDevicePixelRatio(1.0);
    displayedImage = {size, true, QPixmap::fromImage(image)};
    showDisplayedImage(false);
}

void ThumbsForm::on_adjustmentsVisible(bool stat)
{
    adjustments.setActive(stat);
}

void ThumbsForm::on_setFilter(int contrast, int brightness, int gamma, int invertColours)
{
    adjustments.setFilter(contrast, brightness, gamma, invertColours);
    drawSelectedImage(false);
}

void ThumbsForm::on_filterDialogApplyChanges()
{
    qDebug() << "on_applyChanges";
    selectedImage = QPixmap::fromImage(adjustments.apply(selectedImage.toImage()));
    drawSelectedImage(false);
}

void ThumbsForm::on_filterDialogCancelChanges()
{
    adjustments.cancel();
    displayedImage = {scaledToWidth(selectedImage.size(), displayedImage.width())};
    drawSelectedImage(false);
}
