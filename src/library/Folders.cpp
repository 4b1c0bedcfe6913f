#include "library/Folders.h"

#include "shared/platform/PathIdentity.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

#include <algorithm>

QVariant FolderModel::data(const QModelIndex &index, int role) const
{
    const TFolderData folder = folders.value(index.row());
    const bool isRoot = role == Qt::AccessibleTextRole && folder.fileName.isEmpty();
    const QString path = QDir::toNativeSeparators(folder.fullPath);
    if (isRoot || role == Qt::ToolTipRole)
        return path;
    if (role == Qt::AccessibleDescriptionRole)
        return tr("%1 of %2").arg(index.row() + 1).arg(rowCount()) + QStringLiteral(", ") + path;
    return QStandardItemModel::data(index, role);
}

Folders::Folders()
    : treeModel(folderList)
    , folderRoot(treeModel.invisibleRootItem())
    , storedFolders([this] { return paths(); })
{
}

QStringList Folders::paths() const
{
    QStringList paths;
    for (const TFolderData &folder : folderList)
        paths.append(folder.fullPath);
    return paths;
}

int Folders::find(const QString &path) const
{
    const NativeCaselessPath wanted(path);
    const auto found = std::find_if(folderList.cbegin(), folderList.cend(), [&](const TFolderData &folder) {
        return NativeCaselessPath(folder.fullPath) == wanted;
    });
    return found == folderList.cend() ? -1 : static_cast<int>(found - folderList.cbegin());
}

void Folders::add(const QString &path, const QIcon &icon)
{
    const QFileInfo info(path);
    folderList.prepend({info.fileName(), info.path(), path, icon});
    folderRoot->insertRow(0, new QStandardItem(icon, info.fileName()));
    changed();
}

bool Folders::move(int from, int to)
{
    const auto isRow = [this](int row) { return row >= 0 && row < folderList.size(); };
    if (!isRow(from) || !isRow(to))
        return false;
    treeModel.insertRow(to, treeModel.takeRow(from));
    folderList.move(from, to);
    changed();
    return true;
}

bool Folders::remove(const QString &path)
{
    const ExactPath wanted(path);
    const auto found = std::find_if(folderList.cbegin(), folderList.cend(), [&](const TFolderData &folder) {
        return ExactPath(folder.fullPath) == wanted;
    });
    if (found == folderList.cend())
        return false;
    treeModel.removeRow(static_cast<int>(found - folderList.cbegin()));
    folderList.erase(found);
    qDebug() << "folderList.count(): " << folderList.count();
    changed();
    return true;
}

void Folders::changed()
{
    storedFolders.writeSoon();
    Q_ASSERT_X(treeModel.rowCount() == folderList.size(), "Folders",
               qPrintable(QStringLiteral("%1 rows, %2 entries").arg(treeModel.rowCount()).arg(count())));
    for (int row = 0; row < count(); ++row)
        Q_ASSERT_X(treeModel.item(row)->text() == folderList[row].fileName, "Folders",
                   qPrintable(folderList[row].fullPath));
}
