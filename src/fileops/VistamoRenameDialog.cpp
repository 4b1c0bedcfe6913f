#include "fileops/VistamoRenameDialog.h"

#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "ui_VistamoRenameDialog.h"

#include <QFile>
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
    const QString newPath = folderPath + QLatin1Char('/') + ui->newNameLineEdit->text() + QLatin1Char('.')
                            + QFileInfo(filePath).suffix();
    qDebug() << "newFilePath: " << newPath;
    VistamoGlobal::selectedFileName = QFileInfo(newPath).fileName();
    // Never over another file; where upper and lower case are one, Qt knows how to change them.
    if (ExactPath(filePath) != ExactPath(newPath) && CaselessPath(filePath) == CaselessPath(newPath))
        QFile::rename(filePath, newPath);
    else
        static_cast<void>(Platform::renameToNew(filePath, newPath)); // a refused file keeps its name
    close();
}

void VistamoRenameDialog::on_closeButton_clicked()
{
    close();
}
