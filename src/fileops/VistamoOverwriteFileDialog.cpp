#include "fileops/VistamoOverwriteFileDialog.h"

#include "ui_VistamoOverwriteFileDialog.h"

#include <QDir>

#include <algorithm>

namespace {

constexpr int targetColumnWidth = 340;

} // namespace

VistamoOverwriteFileDialog::VistamoOverwriteFileDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::VistamoOverwriteFileDialog>())
{
    ui->setupUi(this);
    ui->treeWidget->setColumnWidth(0, targetColumnWidth);
}

VistamoOverwriteFileDialog::~VistamoOverwriteFileDialog() = default;

void VistamoOverwriteFileDialog::setFileList(const QStringList &fileExistsList,
                                             const QStringList &fileSourceList)
{
    ui->descLabel->setText(
        fileExistsList.size() > 1
            ? tr("The following files already exist. Check all files that you wish to overwrite.")
            : tr("The following file already exist. Do you wish to overwrite it?"));
    ui->treeWidget->clear();
    for (qsizetype i = 0; i < std::min(fileExistsList.size(), fileSourceList.size()); ++i) {
        auto *const item = new QTreeWidgetItem(
            {QDir::toNativeSeparators(fileExistsList[i]), QDir::toNativeSeparators(fileSourceList[i])});
        item->setCheckState(0, Qt::Checked);
        ui->treeWidget->addTopLevelItem(item);
    }
}

void VistamoOverwriteFileDialog::on_overwriteButton_clicked()
{
    setEnabled(false);
    fileExistsList.clear();
    fileSourceList.clear();
    for (int i = 0; i < ui->treeWidget->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const item = ui->treeWidget->topLevelItem(i);
        if (item->checkState(0) == Qt::Checked) {
            fileExistsList.append(item->text(0));
            fileSourceList.append(item->text(1));
        }
    }
    if (!fileExistsList.isEmpty())
        emit overwriteFiles(fileExistsList, fileSourceList);
    deleteLater();
}

void VistamoOverwriteFileDialog::on_cancelButton_clicked()
{
    emit convertFinish();
    deleteLater();
}
