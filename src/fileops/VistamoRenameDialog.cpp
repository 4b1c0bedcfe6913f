#include "fileops/VistamoRenameDialog.h"

#include "fileops/FileWork.h"
#include "shared/platform/NewFileName.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "ui_VistamoRenameDialog.h"

#include <QFileInfo>
#include <QtDebug>

VistamoRenameDialog::VistamoRenameDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::VistamoRenameDialog>())
{
    ui->setupUi(this);
}

VistamoRenameDialog::~VistamoRenameDialog() = default;

void VistamoRenameDialog::setFile(const QString &filePath, const QString &folderPath)
{
    this->filePath = filePath;
    this->folderPath = folderPath;
    const QString baseName = QFileInfo(filePath).baseName();
    qDebug() << "baseName: " << baseName;
    ui->oldNameValueLabel->setText(baseName);
    ui->newNameLineEdit->setText(baseName);
    ui->newNameLineEdit->selectAll();
}

void VistamoRenameDialog::on_renameButton_clicked()
{
    const QString baseName = ui->newNameLineEdit->text();
    const QString fileName = baseName + QLatin1Char('.') + QFileInfo(filePath).suffix();
    const QString newPath = folderPath + QLatin1Char('/') + fileName;
    qDebug() << "newFilePath: " << newPath;
    VistamoGlobal::selectedFileName = QFileInfo(newPath).fileName();
    const auto rename = [&](FileCopy::Progress &progress) {
        return Platform::renameToNew(filePath, newPath, progress.heldFiles);
    };
    // A file that is refused keeps its name.
    if (isNewFileName(baseName, FileNameRules::Unix) && isNewFileName(fileName))
        static_cast<void>(FileWork(this).run(filePath, {}, rename));
    close();
}

void VistamoRenameDialog::on_closeButton_clicked()
{
    close();
}
