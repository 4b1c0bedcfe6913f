#include "shell/ThumbsForm.h"

void ThumbsForm::on_rotateLeftButton_clicked() {}

void ThumbsForm::on_rotateRightButton_clicked() {}

void ThumbsForm::on_flipHButton_clicked() {}

void ThumbsForm::on_flipVButton_clicked() {}

void ThumbsForm::on_cropButton_clicked() {}

void ThumbsForm::on_leftSpinBox_valueChanged(int) {}

void ThumbsForm::on_topSpinBox_valueChanged(int) {}

void ThumbsForm::on_widthSpinBox_valueChanged(int) {}

void ThumbsForm::on_heightSpinBox_valueChanged(int) {}
