#include "fileops/VistamoDeleteDialog.h"

#include "fileops/FileWork.h"
#include "ui_VistamoDeleteDialog.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

enum Column
{
    FileName,
    Path,
    Index
};
constexpr int nameColumnWidth = 200;
constexpr int longestEndMs = 500;

} // namespace

VistamoDeleteDialog::VistamoDeleteDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::VistamoDeleteDialog>())
{
    ui->setupUi(this);
    rootItem = fileModel.invisibleRootItem();
    fileModel.setHorizontalHeaderLabels({tr("File Name"), tr("Path"), tr("Index")});
    ui->fileTreeView->setModel(&fileModel);
    // The texts say which files go.
    ui->fileTreeView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Or each icon that comes asks all rows above its own for their heights.
    ui->fileTreeView->setUniformRowHeights(true);
    ui->fileTreeView->setColumnWidth(FileName, nameColumnWidth);
    ui->fileTreeView->setColumnHidden(Index, true);
}

VistamoDeleteDialog::~VistamoDeleteDialog()
{
    iconThread.end(QDeadlineTimer(longestEndMs));
}

void VistamoDeleteDialog::setFileList(const QList<VistamoGlobal::TFileData> &list)
{
    QStringList paths;
    QList<QList<QStandardItem *>> rows; // the last file stands first
    for (const VistamoGlobal::TFileData &file : list) {
        const QFileInfo info(file.fullPath);
        if (!info.exists())
            continue;
        auto *const item = new QStandardItem(info.fileName());
        item->setSizeHint({nameColumnWidth, thumbnailSize}); // as high as the icon that is to come
        item->setCheckable(true);
        item->setCheckState(Qt::Checked);
        rows.append({item, new QStandardItem(QDir::toNativeSeparators(info.path())),
                     new QStandardItem(QString::number(file.index))});
        paths.append(file.fullPath);
    }
    std::for_each(rows.crbegin(), rows.crend(), [this](const auto &row) { rootItem->appendRow(row); });
    iconThread.set(std::make_unique<DeleteIconThread>(paths, thumbnailSize));
    iconThread.on(&DeleteIconThread::iconMade,
                  [this](int number, const QImage &icon) { onIconMade(number, icon); });
    iconThread.start(QThread::InheritPriority);
}

void VistamoDeleteDialog::onIconMade(int number, const QImage &icon)
{
    if (QStandardItem *const item = fileModel.item(fileModel.rowCount() - 1 - number, FileName))
        item->setIcon(QPixmap::fromImage(icon));
}

void VistamoDeleteDialog::on_applyButton_clicked()
{
    setEnabled(false);
    QList<VistamoGlobal::TFileData> result;
    FileWork work(this);
    for (int row = 0; row < fileModel.rowCount() && !work.isCancelled(); ++row) {
        const QString folder = QDir::fromNativeSeparators(fileModel.item(row, Path)->text());
        const VistamoGlobal::TFileData file = {folder + QLatin1Char('/')
                                                   + fileModel.item(row, FileName)->text(),
                                               fileModel.item(row, Index)->text().toInt()};
        emit readyToDeleteFile();
        if (work.run(file.fullPath, {row + 1, fileModel.rowCount()}, [&file](FileCopy::Progress &progress) {
                return FileCopy::moveToTrash(file.fullPath, progress);
            }))
            result.append(file);
    }
    emit fileDeleted(result);
    deleteLater();
}

void VistamoDeleteDialog::on_cancelButton_clicked()
{
    deleteLater();
}
