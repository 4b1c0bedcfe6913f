#include "shared/platform/FolderEntries.h"
#include "shared/platform/NativePath.h"
#include "shared/platform/Platform.h"

#include <QFileInfo>

#include <windows.h>

namespace {

/// What stands at a link is told by the link itself, but not whether it is there.
bool isLink(const WIN32_FIND_DATAW &entry)
{
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
           && (entry.dwReserved0 == IO_REPARSE_TAG_SYMLINK
               || entry.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
}

/// What the folder says of the file; it keeps nothing of what a link leads to.
FileStamp stampOf(const WIN32_FIND_DATAW &entry)
{
    if (isLink(entry))
        return {};
    constexpr qint64 ticksInMs = 10'000;                // of 100 nanoseconds
    constexpr qint64 msBefore1970 = 11'644'473'600'000; // since 1601
    const auto number = [](DWORD high, DWORD low) { return qint64(quint64(high) << 32 | low); };
    const FILETIME &written = entry.ftLastWriteTime;
    return {number(entry.nFileSizeHigh, entry.nFileSizeLow),
            number(written.dwHighDateTime, written.dwLowDateTime) / ticksInMs - msBefore1970};
}

/// True for an error by which the system says what the folder is; by others it cannot tell, as of a drive
/// that has failed.
bool isAnswer(DWORD error)
{
    return error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
           || error == ERROR_DIRECTORY || error == ERROR_INVALID_NAME || error == ERROR_ACCESS_DENIED;
}

} // namespace

FolderListing folderEntries(const QString &folder, const std::function<bool()> &isStopped,
                            const std::function<bool(const QString &)> &wantsStamp)
{
    FolderListing listing;
    std::wstring pattern = nativePath(folder);
    pattern += pattern.back() == L'\\' ? L"*" : L"\\*";
    WIN32_FIND_DATAW entry = {};
    const HANDLE search = FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                           nullptr, FIND_FIRST_EX_LARGE_FETCH);
    bool found = search != INVALID_HANDLE_VALUE;
    while (found && !isStopped()) {
        const QString name = QString::fromWCharArray(entry.cFileName);
        const bool isHidden = name.startsWith(u'.') || (entry.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN);
        const bool isFolder = entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        if (!isHidden && (!isLink(entry) || QFileInfo::exists(folder + u'/' + name)))
            listing.entries.append(
                {name, isFolder, isLink(entry), wantsStamp(name) ? stampOf(entry) : FileStamp()});
        found = FindNextFileW(search, &entry) != FALSE;
    }
    const DWORD error = found ? ERROR_SUCCESS : GetLastError();
    listing.cutOff = !found && !isAnswer(error);
    // The root of an empty drive has not even the entries that all other folders have.
    listing.isUnreadable = !found && error != ERROR_NO_MORE_FILES
                           && (error != ERROR_FILE_NOT_FOUND || Platform::isMissing(folder));
    if (search != INVALID_HANDLE_VALUE)
        FindClose(search);
    return listing;
}
