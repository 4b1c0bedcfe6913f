#include "shell/ThumbsForm.h"

void ThumbsForm::on_slideShowButton_clicked() {}

void ThumbsForm::OnExitFullScreen() {}

void ThumbsForm::onSlideShowDestroyed() {}

void ThumbsForm::on_optionsButton_clicked() {}
