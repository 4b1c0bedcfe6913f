#include "library/FileModel.h"

#include "shared/VistamoGlobal.h"

bool FileModel::cannotBeShown(int place)
{
    const QRect picture = VistamoGlobal::fileDataList.value(place).imageRect;
    return picture != QRect() && picture.isEmpty();
}

QVariant FileModel::data(const QModelIndex &index, int role) const
{
    if (role == Qt::AccessibleTextRole) // without the line breaks
        return QStandardItemModel::data(index, Qt::DisplayRole).toString().remove(u'\n');
    if (role != Qt::AccessibleDescriptionRole)
        return QStandardItemModel::data(index, role);
    const int number = index.row() + index.column();
    const QString place = tr("%1 of %2").arg(number + 1).arg(rowCount() * columnCount())
                          + (cannotBeShown(number) ? tr(", cannot be shown") : QString());
    const bool ticked = flags(index).testFlag(Qt::ItemIsUserCheckable)
                        && QStandardItemModel::data(index, Qt::CheckStateRole) == Qt::Checked;
    return ticked ? place + tr(", ticked") : place;
}
