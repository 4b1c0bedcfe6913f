#pragma once

#include <QStandardItemModel>

/// The files on show as a view has them, a row or a column each. It tells a screen reader what the eye sees:
/// the whole name, the place in the folder, the tick.
class FileModel : public QStandardItemModel
{
    Q_OBJECT

public:
    using QStandardItemModel::QStandardItemModel;

    /// True for a file that is known to have no picture: not for one that is still being read.
    [[nodiscard]] static bool cannotBeShown(int place);

    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
};
