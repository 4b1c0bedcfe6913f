#include "shared/dialogs/OverwriteFileDialog.h"

#include "ui_OverwriteFileDialog.h"

#include <QDir>

#include <algorithm>

namespace {

constexpr int targetColumnWidth = 340;

} // namespace

OverwriteFileDialog::OverwriteFileDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::OverwriteFileDialog>())
{
    ui->setupUi(this);
    ui->treeWidget->setColumnWidth(0, targetColumnWidth);
}

OverwriteFileDialog::~OverwriteFileDialog() = default;

void OverwriteFileDialog::showFiles(const QStringList &fileExistsList, const QStringList &fileSourceList)
{
    ui->descLabel->setText(
        fileExistsList.size() > 1
            ? tr("The following files already exist. Check all files that you wish to overwrite.")
            : tr("The following file already exist. Do you wish to overwrite it?"));
    ui->treeWidget->clear();
    QList<QTreeWidgetItem *> items;
    for (qsizetype i = 0; i < std::min(fileExistsList.size(), fileSourceList.size()); ++i) {
        auto *const item = new QTreeWidgetItem(
            {QDir::toNativeSeparators(fileExistsList[i]), QDir::toNativeSeparators(fileSourceList[i])});
        item->setCheckState(0, Qt::Checked);
        items.append(item);
    }
    ui->treeWidget->addTopLevelItems(items);
}

void OverwriteFileDialog::on_overwriteButton_clicked()
{
    setEnabled(false);
    QStringList fileExistsList;
    QStringList fileSourceList;
    for (int i = 0; i < ui->treeWidget->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const item = ui->treeWidget->topLevelItem(i);
        if (item->checkState(0) == Qt::Checked) {
            fileExistsList.append(QDir::fromNativeSeparators(item->text(0)));
            fileSourceList.append(QDir::fromNativeSeparators(item->text(1)));
        }
    }
    if (!fileExistsList.isEmpty())
        overwrite(fileExistsList, fileSourceList);
    deleteLater();
}

void OverwriteFileDialog::on_cancelButton_clicked()
{
    setEnabled(false);
    emit convertFinish();
    deleteLater();
}
