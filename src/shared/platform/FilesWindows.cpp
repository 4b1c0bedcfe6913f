#include "shared/platform/HeldFiles.h"
#include "shared/platform/NativePath.h"
#include "shared/platform/Platform.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <vector>

#include <windows.h>

namespace {

using Outcome = HeldFiles::Outcome;

/// True while anybody has the file open, be it for others to share.
bool isOpen(const std::wstring &path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(file);
    return false;
}

/// What an operation came to that has just ended.
Outcome outcome(bool done, std::initializer_list<std::wstring> paths)
{
    if (done)
        return Outcome::Done;
    switch (GetLastError()) {
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return Outcome::Held;
    case ERROR_ACCESS_DENIED: // of a target that is open, too
        return std::any_of(paths.begin(), paths.end(), isOpen) ? Outcome::Held : Outcome::Failed;
    default:
        return Outcome::Failed;
    }
}

/// Does something that the system refuses to a write-protected file.
template <typename Operation>
bool despiteProtection(const std::wstring &path, const Operation &operation)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY))
        return operation();
    SetFileAttributesW(path.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
    if (operation())
        return true;
    const DWORD error = GetLastError();
    SetFileAttributesW(path.c_str(), attributes);
    SetLastError(error);
    return false;
}

/// Replaces a file even while others have it open, as long as they let it be removed. NTFS knows this since
/// Windows 10.
bool replaceOpenFile(const std::wstring &from, const std::wstring &to)
{
    const HANDLE file = CreateFileW(
        from.c_str(), DELETE | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_WRITE_THROUGH, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    // Of FileRenameInfoEx, which older headers lack: replace, in the manner of POSIX, also what is protected.
    constexpr auto kind = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    constexpr DWORD flags = 0x1 | 0x2 | 0x40;
    const size_t bytes = to.size() * sizeof(wchar_t);
    std::vector<FILE_RENAME_INFO> buffer(2 + bytes / sizeof(FILE_RENAME_INFO));
    FILE_RENAME_INFO &rename = buffer.front();
    std::memcpy(&rename, &flags, sizeof(flags));
    rename.FileNameLength = static_cast<DWORD>(bytes);
    std::memcpy(rename.FileName, to.c_str(), bytes);
    const bool done =
        SetFileInformationByHandle(file, kind, &rename, static_cast<DWORD>(buffer.size() * sizeof(rename)))
        != FALSE;
    CloseHandle(file);
    return done;
}

/// The same in two steps, for other file systems. Of a program that is killed between them, the old file
/// stays beside the new one.
bool replaceSetAside(const std::wstring &from, const std::wstring &to)
{
    const std::wstring previous = to + L".previous";
    if (!isOpen(to) || !MoveFileExW(to.c_str(), previous.c_str(), 0))
        return false;
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) {
        despiteProtection(previous, [&] { return DeleteFileW(previous.c_str()) != FALSE; });
        return true;
    }
    const DWORD error = GetLastError();
    MoveFileExW(previous.c_str(), to.c_str(), 0);
    SetLastError(error);
    return false;
}

bool isFolder(const std::wstring &path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

} // namespace

bool Platform::renameToNew(const QString &from, const QString &to, HeldFiles &heldFiles)
{
    const std::wstring source = nativePath(from);
    const std::wstring target = nativePath(to);
    return heldFiles.tryAgain([&] {
        return outcome(MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_WRITE_THROUGH) != FALSE,
                       {source});
    });
}

bool Platform::replaceFile(const QString &from, const QString &to, HeldFiles &heldFiles)
{
    const std::wstring source = nativePath(from);
    const std::wstring target = nativePath(to);
    constexpr DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    const auto move = [&] { return MoveFileExW(source.c_str(), target.c_str(), flags) != FALSE; };
    return !isFolder(target) && heldFiles.tryAgain([&] {
        const bool done = replaceOpenFile(source, target) || despiteProtection(target, move)
                          || replaceSetAside(source, target);
        return outcome(done, {source, target});
    });
}

bool Platform::removeFile(const QString &path, HeldFiles &heldFiles)
{
    const std::wstring file = nativePath(path);
    const auto remove = [&] { return DeleteFileW(file.c_str()) != FALSE; };
    return heldFiles.tryAgain([&] { return outcome(despiteProtection(file, remove), {file}); });
}
