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
}

void ThumbsForm::onSepiaAction()
{
    editPicture([](const QImage &image) { return VistamoGlobal().applyFilter(image, sepia, 0); });
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

/// Opens the adjustments dialog, which has all controls whatever the entry of the menu.
void ThumbsForm::showFilterDialog(int)
{
    startProcessImageThread();
    const QImage image = pictureView.picture().toImage();
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
        redraw();
}

void ThumbsForm::on_filterResultAvailable(QImage image)
{
    pictureView.setFiltered(image);
    showView(false);
}

void ThumbsForm::on_adjustmentsVisible(bool stat)
{
    adjustments.setActive(stat);
}

void ThumbsForm::on_setFilter(int contrast, int brightness, int gamma, int invertColours)
{
    adjustments.setFilter(contrast, brightness, gamma, invertColours);
    redraw();
}

void ThumbsForm::on_filterDialogApplyChanges()
{
    qDebug() << "on_applyChanges";
    const PictureEdit edit = adjustments.apply();
    pictureView.dropFiltered();
    editPicture(edit);
}

void ThumbsForm::on_filterDialogCancelChanges()
{
    adjustments.cancel();
    pictureView.dropFiltered();
    redraw();
}
