#pragma once

#include <QStandardItemModel>

/// The files on show as a view has them, a row or a column each. It tells a screen reader what the eye sees:
/// the whole name, the place in the folder, the tick.
class FileModel : public QStandardItemModel
{
    Q_OBJECT

public:
    /// @param list that has the ticks of these files; null for itself
    explicit FileModel(const FileModel *list = nullptr)
        : list(list)
    {
    }

    /// True for a file that is known to have no picture: not for one that is still being read, nor in
    /// the strip for those that the list has elsewhere, since a file has left it.
    [[nodiscard]] static bool cannotBeShown(const QModelIndex &index);

    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    const FileModel *const list;
};
