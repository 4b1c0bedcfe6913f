#include "shell/ThumbsForm.h"

#include "shared/PathIdentity.h"
#include "ui_ThumbsForm.h"

#include <QtDebug>

#include <algorithm>

void ThumbsForm::onThumbnailsFound(const QList<ThumbnailAnswer> &answers)
{
    for (const ThumbnailAnswer &answer : answers)
        applyThumbnail(answer);
}

void ThumbsForm::onThumbnailMade(const ThumbnailAnswer &answer)
{
    applyThumbnail(answer);
    if (answer.again) {
        --thumbnailsMadeAgain;
        onLostPictures();
    }
}

/// Gives a row its icon and its tick.
void ThumbsForm::applyThumbnail(const ThumbnailAnswer &answer)
{
    const int row = answer.load == currentLoad ? rowOf(answer.fileName, answer.row) : -1;
    if (row < 0)
        return;
    TFileRecord &record = VistamoGlobal::fileDataList[row];
    record.imageRect = thumbnailRect(answer.size);
    const QIcon icon = thumbnailIcons.icon(answer, record);

    QStandardItem *const item = mainModel.item(row, 0);
    if (!item) {
        qDebug() << "ERROR: mainModelItem==NULL";
        stopThumbnailThread();
        return;
    }
    item->setIcon(icon);
    if (ticks.contains(record.path, record.fileName))
        item->setCheckState(Qt::Checked);
    // The strip keeps its columns when rows leave the list.
    if (QStandardItem *const cell = galleryModel.item(0, answer.row))
        cell->setIcon(icon);
}

/// The row that holds the file of the folder on show: `row`, or one above it if rows were taken out, or -1.
int ThumbsForm::rowOf(const QString &fileName, int row) const
{
    const QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    for (int i = std::min(row, static_cast<int>(records.size()) - 1); i >= 0; --i) {
        if (records[i].fileName == fileName)
            return i;
    }
    return -1;
}

/// Has pictures made again that the list could not paint, a few at a time, the latest first.
void ThumbsForm::onLostPictures()
{
    while (thumbnailsMadeAgain < thumbnailMaker->processorCount()) {
        const auto source = thumbnailIcons.takeLost();
        if (!source)
            return;
        ++thumbnailsMadeAgain;
        using Storing = ThumbnailMaker::Storing;
        thumbnailMaker->makeAgain(currentLoad, {QFileInfo(source->key.fullPath), source->row},
                                  source->stored ? Storing::AddBehindBroken : Storing::Leave);
    }
}

void ThumbsForm::onThumbnailRepaintNeeded()
{
    ui->mainListView->viewport()->update();
    ui->galleryTableView->viewport()->update();
}
