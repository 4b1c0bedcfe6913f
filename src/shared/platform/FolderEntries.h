#pragma once

#include <QList>
#include <QString>

#include <functional>

/// One entry of a folder.
struct FolderEntry
{
    QString name;
    QString folded; ///< the name without its case, to sort by
    bool isFolder = false;
    bool isLink = false;
};

/// What a folder gives of its entries.
struct FolderListing
{
    QList<FolderEntry> entries;
    bool cutOff =
        false; ///< it could not be read to its end, though it may be there: further ones may be in it
    bool isUnreadable = false; ///< for whatever reason
};

/// The files and folders directly in a folder, in no order, those that links lead to among them; none if the
/// folder cannot be read. Hidden names, special files, links to nothing, and names that a QString cannot hold
/// are left out. Ends early, with what it has, once `isStopped` gives true.
[[nodiscard]] FolderListing folderEntries(const QString &folder, const std::function<bool()> &isStopped);

/// True if `a` stands before `b` in a list of files: by name, case ignored, numbers as numbers; names that
/// are the same so far by their code units.
[[nodiscard]] bool comesBefore(const FolderEntry &a, const FolderEntry &b);
