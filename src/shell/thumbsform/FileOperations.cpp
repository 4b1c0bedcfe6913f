#include "shell/ThumbsForm.h"

void ThumbsForm::onCopytoAction() {}

void ThumbsForm::onMovetoAction() {}

void ThumbsForm::handleConvertFinish() {}

void ThumbsForm::handleOverwriteFiles(QStringList, QStringList) {}

void ThumbsForm::onRenameAction() {}

void ThumbsForm::on_readyToDeleteFile() {}

void ThumbsForm::on_fileDeleted(QList<VistamoGlobal::TFileData>) {}

void ThumbsForm::showDeleteDialog() {}

void ThumbsForm::on_deleteButton_clicked() {}
