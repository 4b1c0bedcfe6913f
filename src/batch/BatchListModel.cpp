#include "batch/BatchListModel.h"

#include "batch/BatchListItem.h"

#include <QIcon>
#include <QPixmapCache>
#include <QSet>

#include <algorithm>

namespace {

/// The rest of what identifies a thumbnail in the database.
enum Role
{
    SizeRole = Qt::UserRole,
    CreationTimeRole
};

QStandardItem *newItem(const BatchFile &file)
{
    auto *const item = new QStandardItem(batchItemText(file.key.fullPath, file.resolution));
    item->setData(file.key.size, SizeRole);
    item->setData(file.key.creationTime, CreationTimeRole);
    if (!file.icon.isNull())
        item->setIcon(QIcon(QPixmap::fromImage(file.icon)));
    return item;
}

} // namespace

void BatchListModel::addFiles(const QList<BatchFile> &files)
{
    // From the end: of a file that comes twice the last one counts.
    QSet<QString> keys;
    QList<QStandardItem *> items;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        const QString key = batchItemKey(file->key.fullPath);
        if (keys.contains(key))
            continue;
        keys.insert(key);
        items.prepend(newItem(*file));
    }
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (keys.contains(batchItemKey(fullPathFromItemText(index(row, 0).data().toString()))))
            removeRow(row);
    }
    invisibleRootItem()->appendRows(items);
}

QStringList BatchListModel::paths() const
{
    QStringList paths;
    for (int row = 0; row < rowCount(); ++row) {
        if (const QStandardItem *const file = item(row))
            paths.append(fullPathFromItemText(file->text()));
    }
    return paths;
}

QVariant BatchListModel::data(const QModelIndex &index, int role) const
{
    const QVariant own = QStandardItemModel::data(index, role);
    if (role != Qt::DecorationRole || own.isValid() || !index.isValid())
        return own;
    TThumbnailRecord record;
    record.fullPath = fullPathFromItemText(index.data().toString());
    record.size = index.data(SizeRole).toLongLong();
    record.creationTime = index.data(CreationTimeRole).toDateTime();
    const QString cacheKey =
        QStringLiteral("batch %1 %2 %3")
            .arg(record.size)
            .arg(record.creationTime.isValid() ? record.creationTime.toMSecsSinceEpoch() : 0)
            .arg(record.fullPath);
    QPixmap icon;
    if (!QPixmapCache::find(cacheKey, &icon)) {
        VistamoGlobal().getThumbnail(record, VistamoGlobal::thumbnailTableName,
                                     VistamoGlobal::thumbnailDatabase);
        icon = QPixmap::fromImage(batchIcon(record.image));
        if (!record.image.isNull())
            QPixmapCache::insert(cacheKey, icon);
    }
    return QIcon(icon);
}
