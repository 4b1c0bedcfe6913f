#include "shell/ThumbsForm.h"

void ThumbsForm::on_filterResultAvailable(QImage) {}

void ThumbsForm::on_filterFinished() {}

void ThumbsForm::onGrayscaleAction() {}

void ThumbsForm::onSepiaAction() {}

void ThumbsForm::onContrastAction() {}

void ThumbsForm::onBrightnessAction() {}

void ThumbsForm::onGammaAction() {}

void ThumbsForm::onInvertColorsAction() {}

void ThumbsForm::onResetImageAction() {}

void ThumbsForm::startProcessImageThread() {}

void ThumbsForm::stopProcessImageThread() {}

void ThumbsForm::on_filterDialogApplyChanges() {}

void ThumbsForm::on_filterDialogCancelChanges() {}

void ThumbsForm::on_adjustmentsVisible(bool) {}

void ThumbsForm::on_setFilter(int, int, int, int) {}

void ThumbsForm::showFilterDialog(int) {}
