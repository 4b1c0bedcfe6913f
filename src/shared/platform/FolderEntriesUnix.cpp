#include "shared/platform/FolderEntries.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace {

/// The name as Qt writes it; empty if it cannot be told in a QString.
QString nameOf(const std::filesystem::path &path)
{
    const QByteArray bytes(path.filename().c_str());
    const QString decoded = QFile::decodeName(bytes);
    // What is no UTF-8 is decoded to this letter, which a name may have by itself.
    const bool isExact =
        !decoded.contains(QChar::ReplacementCharacter) || QFile::encodeName(decoded) == bytes;
    return isExact ? decoded : QString();
}

/// True for an error by which the system says what the folder is; by others it cannot tell, as of a drive
/// that has failed.
bool isAnswer(const std::error_code &error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory
           || error == std::errc::permission_denied;
}

} // namespace

FolderListing folderEntries(const QString &folder, const std::function<bool()> &isStopped)
{
    FolderListing listing;
    std::error_code error;
    // The kind of most entries comes with their name; only links are looked at one by one.
    for (std::filesystem::directory_iterator entry(QFileInfo(folder).filesystemFilePath(), error), end;
         !error && entry != end && !isStopped(); entry.increment(error)) {
        std::error_code unknown; // what cannot be looked at is no file
        const QString name = nameOf(entry->path());
        const bool isFolder = entry->is_directory(unknown);
        if (!name.isEmpty() && !name.startsWith(u'.') && (isFolder || entry->is_regular_file(unknown)))
            listing.entries.append({name, name.toCaseFolded(), isFolder, entry->is_symlink(unknown)});
    }
    listing.cutOff = error && !isAnswer(error);
    listing.isUnreadable = static_cast<bool>(error);
    return listing;
}
