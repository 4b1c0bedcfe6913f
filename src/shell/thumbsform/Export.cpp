#include "shell/ThumbsForm.h"

void ThumbsForm::onSaveImageFinished() {}

void ThumbsForm::imageFileActionClicked(bool) {}

void ThumbsForm::pasteboardActionMenuClicked(bool) {}

void ThumbsForm::on_exportCropImageButton_clicked() {}
