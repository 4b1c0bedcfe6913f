#pragma once

#include "library/StoredFolders.h"
#include "library/TFolderData.h"

#include <QStandardItemModel>
#include <QStringList>

/// The folders as the tree has them: a row each, which holds its name and icon alone.
class FolderModel : public QStandardItemModel
{
    Q_OBJECT

public:
    /// @param folders whose paths tell folders of one name apart
    explicit FolderModel(const QList<TFolderData> &folders)
        : folders(folders)
    {
    }

    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    const QList<TFolderData> &folders;
};

/// The user's list of folders, and the model of the side tree: entry n and row n are the same folder. The
/// newest is on top. Looks at none of them. GUI thread.
class Folders
{
public:
    Folders();

    QStandardItemModel &model() { return treeModel; }

    /// The list in the settings, which follows this one.
    StoredFolders &stored() { return storedFolders; }
    [[nodiscard]] bool isEmpty() const { return folderList.isEmpty(); }
    [[nodiscard]] int count() const { return static_cast<int>(folderList.size()); }

    /// All folders from the top, as they were given.
    [[nodiscard]] QStringList paths() const;

    /// The folder in a row as it was given; empty if there is no such row.
    [[nodiscard]] QString pathAt(int row) const { return folderList.value(row).fullPath; }

    /// The row of a folder, whatever the case of its path and the kind of its separators; -1 for none.
    [[nodiscard]] int find(const QString &path) const;

    /// Puts a folder on top.
    void add(const QString &path, const QIcon &icon);

    /// Moves a folder to another row. False, and nothing happens, if one of the rows is not there.
    [[nodiscard]] bool move(int from, int to);

    /// Takes the folder of exactly this path out of the list. False if there is none.
    [[nodiscard]] bool remove(const QString &path);

private:
    void changed();

    QList<TFolderData> folderList;
    FolderModel treeModel;
    QStandardItem *const folderRoot;
    StoredFolders storedFolders;
};
