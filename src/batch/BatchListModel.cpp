#include "batch/BatchListModel.h"

#include "batch/BatchListItem.h"
#include "library/ThumbnailDatabase.h"
#include "library/Thumbnails.h"
#include "shared/platform/PathIdentity.h"

#include <QIcon>
#include <QPixmapCache>
#include <QSet>
#include <QSignalBlocker>

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

/// What identifies the thumbnail in the database, and the file in the list.
enum Role
{
    PathRole = Qt::UserRole,
    SizeRole,
    CreationTimeRole,
    KeyRole,  ///< a hash, so that a long list is quick to look through
    PlaceRole ///< where the row goes when the list is put in order
};

constexpr int repaintAfterMs = 100;

quint64 hashOfKey(const QString &path)
{
    return qHash(NativeLowerCasePath(path));
}

QStandardItem *newItem(const BatchFile &file)
{
    auto *const item = new QStandardItem(batchItemText(file.key.fullPath, file.resolution));
    item->setData(file.key.fullPath, PathRole);
    item->setData(file.key.size, SizeRole);
    item->setData(file.key.creationTime, CreationTimeRole);
    item->setData(hashOfKey(fullPathFromItemText(item->text())), KeyRole);
    if (!file.icon.isNull())
        item->setIcon(QIcon(QPixmap::fromImage(file.icon)));
    return item;
}

} // namespace

BatchListModel::BatchListModel(QObject *parent)
    : QStandardItemModel(parent)
{
    setSortRole(PlaceRole);
    repaintTimer.setSingleShot(true);
    connect(&repaintTimer, &QTimer::timeout, this, [this] {
        for (const QPersistentModelIndex &index : std::exchange(missed, {}))
            emit dataChanged(index, index, {Qt::DecorationRole});
    });
}

void BatchListModel::addFiles(const QList<BatchFile> &files)
{
    // From the end: of a file that comes twice the last one counts.
    QSet<quint64> keys;
    QList<QStandardItem *> items;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        const quint64 key = hashOfKey(file->key.fullPath);
        if (keys.contains(key))
            continue;
        keys.insert(key);
        items.append(newItem(*file));
    }
    std::reverse(items.begin(), items.end());
    QList<int> again;
    for (int row = 0; row < rowCount(); ++row) {
        if (keys.contains(item(row)->data(KeyRole).toULongLong()))
            again.append(row);
    }
    for (qsizetype end = again.size(); end > 0;) { // adjacent rows at once
        qsizetype first = end - 1;
        while (first > 0 && again[first - 1] == again[first] - 1)
            --first;
        removeRows(again[first], static_cast<int>(end - first));
        end = first;
    }
    invisibleRootItem()->appendRows(items);
}

void BatchListModel::removeFiles(const QList<int> &rows)
{
    QList<int> kept = inOrder();
    for (const int row : rows)
        kept[row] = -1;
    kept.removeAll(-1);
    const int count = static_cast<int>(kept.size());
    putInOrder(kept + rows);
    removeRows(count, rowCount() - count);
}

void BatchListModel::moveFiles(const QList<int> &rows, int step)
{
    QList<int> order = inOrder();
    for (const int row : rows) {
        if (row + step >= 0 && row + step < order.size())
            order.swapItemsAt(row, row + step);
    }
    putInOrder(order);
}

/// The rows as they stand.
QList<int> BatchListModel::inOrder() const
{
    QList<int> rows(rowCount());
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

/// One change of all rows, since each that comes or goes alone costs as much as the list and its selection
/// are long.
void BatchListModel::putInOrder(const QList<int> &rows)
{
    {
        const QSignalBlocker unseen(this);
        for (int place = 0; place < rows.size(); ++place)
            setData(index(rows[place], 0), place, PlaceRole);
    }
    sort(0);
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
    if (role == Qt::AccessibleDescriptionRole)
        return tr("%1 of %2").arg(index.row() + 1).arg(rowCount());
    const QVariant own = QStandardItemModel::data(index, role);
    if (role != Qt::DecorationRole || own.isValid() || !index.isValid())
        return own;
    return QIcon(icon(index));
}

QPixmap BatchListModel::icon(const QModelIndex &index) const
{
    TThumbnailRecord key;
    key.fullPath = index.data(PathRole).toString();
    key.size = index.data(SizeRole).toLongLong();
    key.creationTime = index.data(CreationTimeRole).toDateTime();
    const QString cacheKey = QStringLiteral("batch %1 %2 %3")
                                 .arg(key.size)
                                 .arg(key.creationTime.isValid() ? key.creationTime.toMSecsSinceEpoch() : 0)
                                 .arg(key.fullPath);
    QPixmap icon;
    if (QPixmapCache::find(cacheKey, &icon))
        return icon;
    ThumbnailDatabase::Stored found;
    const auto outcome = ThumbnailDatabase::find(key, VistamoGlobal::thumbnailTableName,
                                                 VistamoGlobal::thumbnailDatabase, found);
    icon = QPixmap::fromImage(whiteSquareAround(QImage::fromData(found.jpeg, "JPG"), batchIconSide));
    if (outcome == ThumbnailDatabase::Outcome::Found) {
        QPixmapCache::insert(cacheKey, icon);
    } else if (outcome == ThumbnailDatabase::Outcome::Busy) {
        missed.append(index);
        if (!repaintTimer.isActive())
            repaintTimer.start(repaintAfterMs);
    }
    return icon;
}
