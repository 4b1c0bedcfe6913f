#include "library/FileModel.h"

QVariant FileModel::data(const QModelIndex &index, int role) const
{
    if (role == Qt::AccessibleTextRole) // without the line breaks
        return QStandardItemModel::data(index, Qt::DisplayRole).toString().remove(u'\n');
    if (role != Qt::AccessibleDescriptionRole)
        return QStandardItemModel::data(index, role);
    const QString place =
        tr("%1 of %2").arg(index.row() + index.column() + 1).arg(rowCount() * columnCount());
    const bool ticked = flags(index).testFlag(Qt::ItemIsUserCheckable)
                        && QStandardItemModel::data(index, Qt::CheckStateRole) == Qt::Checked;
    return ticked ? place + tr(", ticked") : place;
}
