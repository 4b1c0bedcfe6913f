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
    if (processImageThread.isActive())
        return;
    using Thread = VistamoProcessImageThread;
    processImageThread.set(std::make_unique<Thread>());
    processImageThread.on(&Thread::resultAvailable,
                          [this](const QImage &image) { on_filterResultAvailable(image); });
    processImageThread.start(QThread::InheritPriority, [this](Thread &) { on_filterFinished(); });
}

void ThumbsForm::stopProcessImageThread()
{
    if (processImageThread.isActive())
        processImageThread->setFinishRequested();
}

void ThumbsForm::on_filterFinished()
{
    // The dialog was opened again while the thread was ending.
    if (adjustmentsActive) {
        startProcessImageThread();
        drawSelectedImage(false);
    }
}

/// Has the view worked out with the settings of the dialog.
void ThumbsForm::requestFilteredView(bool highQuality)
{
    if (processImageThread.isActive())
        processImageThread->addRequest({selectedImage, highQuality ? 1 : 0, displayedImage.width(), contrast,
                                        brightness, gamma, invertColours, devicePixelRatio()});
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
    adjustmentsActive = stat;
}

void ThumbsForm::on_setFilter(int contrast, int brightness, int gamma, int invertColours)
{
    this->contrast = contrast;
    this->brightness = brightness;
    this->gamma = gamma;
    this->invertColours = invertColours;
    drawSelectedImage(false);
}

void ThumbsForm::on_filterDialogApplyChanges()
{
    qDebug() << "on_applyChanges";
    adjustmentsActive = false;
    selectedImage = QPixmap::fromImage(
        ColourFilters::applyAdjustments(selectedImage.toImage(), contrast, brightness, gamma, invertColours));
    drawSelectedImage(false);
    stopProcessImageThread();
}

void ThumbsForm::on_filterDialogCancelChanges()
{
    adjustmentsActive = false;
    displayedImage = {scaledToWidth(selectedImage.size(), displayedImage.width())};
    drawSelectedImage(false);
    stopProcessImageThread();
}
