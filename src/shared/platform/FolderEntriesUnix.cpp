#include "shared/platform/FolderEntries.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace {

/// The name as Qt writes it; empty if it cannot be told in a QString.
QString nameOf(const dirent &entry)
{
    const QByteArrayView letters(entry.d_name);
    if (std::none_of(letters.cbegin(), letters.cend(), [](char letter) { return letter & '\x80'; }))
        return QString::fromLatin1(letters);
    const QByteArray bytes = letters.toByteArray();
    const QString decoded = QFile::decodeName(bytes);
    // What is no UTF-8 is decoded to this letter, which a name may have by itself.
    const bool isExact =
        !decoded.contains(QChar::ReplacementCharacter) || QFile::encodeName(decoded) == bytes;
    return isExact ? decoded : QString();
}

bool isLink(const dirent &entry, int folder)
{
    struct stat own = {};
    return entry.d_type == DT_LNK
           || (entry.d_type == DT_UNKNOWN && fstatat(folder, entry.d_name, &own, AT_SYMLINK_NOFOLLOW) == 0
               && S_ISLNK(own.st_mode));
}

FileStamp stampOf(const struct stat &file)
{
    constexpr qint64 msInSecond = 1000;
    constexpr qint64 nsInMs = 1'000'000;
#ifdef Q_OS_DARWIN
    const timespec &modified = file.st_mtimespec;
#else
    const timespec &modified = file.st_mtim;
#endif
    return {file.st_size, modified.tv_sec * msInSecond + modified.tv_nsec / nsInMs};
}

/// True for an error by which the system says what the folder is; by others it cannot tell, as of a drive
/// that has failed.
bool isAnswer(int error)
{
    return error == ENOENT || error == ENOTDIR || error == EACCES;
}

} // namespace

FolderListing folderEntries(const QString &folder, const std::function<bool()> &isStopped,
                            const std::function<bool(const QString &)> &wantsStamp)
{
    FolderListing listing;
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(QFile::encodeName(folder).constData()),
                                                         closedir);
    int error = directory ? 0 : errno;
    while (directory && !isStopped()) {
        errno = 0;
        const dirent *const entry = readdir(directory.get());
        if (!entry) {
            error = errno;
            break;
        }
        const QString name = nameOf(*entry);
        if (name.isEmpty() || name.startsWith(u'.'))
            continue;
        // The kind of most entries comes with their name; only links are looked at one by one.
        bool isFolder = entry->d_type == DT_DIR;
        bool isFile = entry->d_type == DT_REG;
        const bool withStamp = wantsStamp(name);
        struct stat target = {};
        const bool isSeen = (withStamp || (!isFolder && !isFile))
                            && fstatat(dirfd(directory.get()), entry->d_name, &target, 0) == 0;
        if (!isFolder && !isFile && isSeen) {
            isFolder = S_ISDIR(target.st_mode);
            isFile = S_ISREG(target.st_mode);
        }
        if (isFolder || isFile)
            listing.entries.append({name, isFolder, isLink(*entry, dirfd(directory.get())),
                                    isSeen && withStamp ? stampOf(target) : FileStamp()});
    }
    listing.cutOff = error && !isAnswer(error);
    listing.isUnreadable = error != 0;
    return listing;
}
