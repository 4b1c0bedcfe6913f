#include "library/FileModel.h"

#include "library/FileNames.h"
#include "shared/VistamoGlobal.h"

namespace {

/// Files stand in one row, or in one column.
int placeOf(const QModelIndex &index)
{
    return index.row() + index.column();
}

} // namespace

bool FileModel::cannotBeShown(const QModelIndex &index)
{
    const TFileRecord file = VistamoGlobal::fileDataList.value(placeOf(index));
    return file.imageRect != QRect() && file.imageRect.isEmpty()
           && index.data().toString() == wrapFileName(file.fileName);
}

QVariant FileModel::data(const QModelIndex &index, int role) const
{
    if (role == Qt::AccessibleTextRole) // without the line breaks
        return QStandardItemModel::data(index, Qt::DisplayRole).toString().remove(u'\n');
    if (role != Qt::AccessibleDescriptionRole)
        return QStandardItemModel::data(index, role);
    const QString place = tr("%1 of %2").arg(placeOf(index) + 1).arg(rowCount() * columnCount())
                          + (cannotBeShown(index) ? tr(", cannot be shown") : QString());
    const QModelIndex row = list ? list->index(placeOf(index), 0) : index;
    const bool ticked = row.flags().testFlag(Qt::ItemIsUserCheckable)
                        && row.data(Qt::CheckStateRole) == Qt::Checked && row.data() == index.data();
    return ticked ? place + tr(", ticked") : place;
}
