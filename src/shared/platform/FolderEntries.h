#pragma once

#include <QList>
#include <QString>

#include <functional>

/// By which a file is told from another that was put in its place, or from itself before it was written to.
struct FileStamp
{
    qint64 size = -1;      ///< bytes; -1: not asked for, or not known
    qint64 modifiedMs = 0; ///< since 1970

    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

/// One entry of a folder.
struct FolderEntry
{
    QString name;
    bool isFolder = false;
    bool isLink = false;
    FileStamp stamp = {}; ///< of the file that a link leads to
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
/// @param wantsStamp of which names the stamps are wanted: of some files, such as links on Windows, they are
///                   not known, and a Windows folder may keep an old one of a file with several names
[[nodiscard]] FolderListing folderEntries(
    const QString &folder, const std::function<bool()> &isStopped,
    const std::function<bool(const QString &)> &wantsStamp = [](const QString &) { return false; });

/// True if the name `a` stands before `b` in a list of files: case ignored, numbers as numbers; names that
/// are the same so far by their code units.
[[nodiscard]] bool nameComesBefore(QStringView a, QStringView b);
[[nodiscard]] bool comesBefore(const FolderEntry &a, const FolderEntry &b);
