#include "shell/ThumbsForm.h"

#include "library/FileNames.h"
#include "ui_ThumbsForm.h"

#include <QDir>
#include <QtDebug>

namespace {

/// A file as the list of ticks identifies it: the same for paths that differ by case or separators.
QString tickKey(const QString &path, const QString &fileName)
{
    return QDir::toNativeSeparators(path + QLatin1Char('/') + fileName).toCaseFolded();
}

} // namespace

void ThumbsForm::onThumbnailsFound(const QList<ThumbnailAnswer> &answers)
{
    const QSet<QString> ticked = tickedFiles();
    for (const ThumbnailAnswer &answer : answers)
        applyThumbnail(answer, ticked);
}

void ThumbsForm::onThumbnailMade(const ThumbnailAnswer &answer)
{
    applyThumbnail(answer, tickedFiles());
}

QSet<QString> ThumbsForm::tickedFiles() const
{
    QSet<QString> ticked;
    for (const TCheckedItem &item : VistamoGlobal::checkedItemList)
        ticked.insert(tickKey(item.path, item.fileName));
    return ticked;
}

/// Gives a row its icon and its tick. The path decides which row it is.
void ThumbsForm::applyThumbnail(const ThumbnailAnswer &answer, const QSet<QString> &ticked)
{
    const int row = answer.load == currentLoad ? rowOf(answer.fullPath, answer.row) : -1;
    if (row < 0)
        return;
    TFileRecord &record = VistamoGlobal::fileDataList[row];
    record.imageRect = thumbnailRect(answer.size);
    const QIcon icon = thumbnailIcons.icon(answer, record);

    QStandardItem *const item = mainModel.item(row, 0);
    if (!item) {
        qDebug() << "ERROR: mainModelItem==NULL";
        if (loadThumbnailThread)
            loadThumbnailThread->stop();
        return;
    }
    item->setIcon(icon);
    if (!ticked.isEmpty() && ticked.contains(tickKey(record.path, record.fileName)))
        item->setCheckState(Qt::Checked);
    // The strip keeps its columns when rows leave the list.
    if (QStandardItem *const cell = galleryModel.item(0, answer.row))
        cell->setIcon(icon);
}

/// The row that holds the file now: `row`, or one above it if rows were taken out, or none (-1).
int ThumbsForm::rowOf(const QString &fullPath, int row) const
{
    const QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    for (int i = std::min(row, static_cast<int>(records.size()) - 1); i >= 0; --i) {
        if (records[i].fullPath == fullPath)
            return i;
    }
    return -1;
}

void ThumbsForm::onThumbnailLost(const QString &fullPath, int row, bool stored)
{
    thumbnailMaker->makeAgain(currentLoad, {QFileInfo(fullPath), row}, stored);
}

void ThumbsForm::onThumbnailRepaintNeeded()
{
    ui->mainListView->viewport()->update();
    ui->galleryTableView->viewport()->update();
}
