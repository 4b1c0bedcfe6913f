#include "shared/platform/HeldFiles.h"
#include "shared/platform/NativePath.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/platform/WindowsHandle.h"

#include <QtDebug>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <vector>

#include <fcntl.h>
#include <io.h>

namespace {

using Outcome = HeldFiles::Outcome;

/// True while anybody has the file open, be it for others to share.
bool isOpen(const std::wstring &path)
{
    const WindowsHandle alone(path, GENERIC_READ, FILE_FLAG_OPEN_REPARSE_POINT, 0);
    return !alone.isValid() && GetLastError() == ERROR_SHARING_VIOLATION;
}

/// What an operation on these files comes to. Denied though nobody has one open, it is tried once more: who
/// had may have let go since.
template <typename Operation>
Outcome outcome(const Operation &operation, std::initializer_list<std::wstring> paths)
{
    for (const bool isFirst : {true, false}) {
        if (operation())
            return Outcome::Done;
        switch (GetLastError()) {
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_USER_MAPPED_FILE:
            return Outcome::Held;
        case ERROR_ACCESS_DENIED: // of a target that is open, too
            if (std::any_of(paths.begin(), paths.end(), isOpen))
                return Outcome::Held;
            if (isFirst)
                break;
            [[fallthrough]];
        default:
            return Outcome::Failed;
        }
    }
    return Outcome::Failed;
}

bool moveFile(const std::wstring &from, const std::wstring &to, DWORD flags = 0)
{
    return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH | flags) != FALSE;
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

bool removeDespiteProtection(const std::wstring &path)
{
    return despiteProtection(path, [&path] { return DeleteFileW(path.c_str()) != FALSE; });
}

/// Replaces a file even while others have it open, as long as they let it be removed. NTFS knows this since
/// Windows 10.
bool replaceOpenFile(const std::wstring &from, const std::wstring &to)
{
    const WindowsHandle file(from, DELETE | SYNCHRONIZE,
                             FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_WRITE_THROUGH);
    if (!file.isValid())
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
    const auto size = static_cast<DWORD>(buffer.size() * sizeof(rename));
    return SetFileInformationByHandle(file, kind, &rename, size) != FALSE;
}

/// The same in two steps, for other file systems. Of a program that is killed between them, the old file
/// stays beside the new one: nothing is begun that cannot be ended. Failed, it leaves the error of what was
/// tried before.
bool replaceSetAside(const std::wstring &from, const std::wstring &to)
{
    const DWORD error = GetLastError();
    const std::wstring previous = to + L".previous";
    const bool canBeMoved = WindowsHandle(from, DELETE, FILE_FLAG_OPEN_REPARSE_POINT).isValid();
    if (canBeMoved && isOpen(to) && moveFile(to, previous)) {
        if (moveFile(from, to)) {
            if (!removeDespiteProtection(previous))
                qDebug() << "Left behind" << QString::fromStdWString(previous);
            return true;
        }
        if (!moveFile(previous, to))
            qDebug() << "Not moved back" << QString::fromStdWString(previous);
    }
    SetLastError(error);
    return false;
}

bool isFolder(const std::wstring &path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

/// Copies one stream of a file, or nothing of it.
void copyStream(const std::wstring &from, const std::wstring &to)
{
    const WindowsHandle source(from, GENERIC_READ);
    if (!source.isValid())
        return;
    bool done = false;
    {
        const WindowsHandle target(to, GENERIC_WRITE, 0, WindowsHandle::shareAll, CREATE_ALWAYS);
        if (!target.isValid()) // a file system without streams
            return;
        char bytes[1 << 16];
        DWORD length = 0;
        DWORD written = 0;
        while ((done = ReadFile(source, bytes, sizeof(bytes), &length, nullptr)) && length > 0
               && (done = WriteFile(target, bytes, length, &written, nullptr) && written == length)) {
        }
    }
    if (!done && !DeleteFileW(to.c_str()))
        qDebug() << "Left in part" << QString::fromStdWString(to);
}

} // namespace

bool Platform::flushToDisk(const QFileDevice &file)
{
    return _commit(file.handle()) == 0;
}

// The log of the file system keeps its names in order.
void Platform::flushFolder(const QString &) {}

bool Platform::isMissing(const QString &path)
{
    if (GetFileAttributesW(nativePath(path).c_str()) != INVALID_FILE_ATTRIBUTES)
        return false;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

int Platform::openShared(const QString &path)
{
    WindowsHandle file(nativePath(path), GENERIC_READ);
    if (!file.isValid())
        return -1;
    const int number = _open_osfhandle(reinterpret_cast<intptr_t>(HANDLE(file)), _O_RDONLY);
    if (number >= 0)
        file.release();
    return number;
}

int Platform::openUnnamed(const QString &, bool)
{
    return -1;
}

// Files of ours that are open cannot be removed.
void Platform::markAtWork(const QFileDevice &) {}

bool Platform::isAtWork(const QString &)
{
    return false;
}

bool Platform::giveName(const QFileDevice &, const QString &)
{
    return false;
}

std::optional<QFileDevice::Permissions> Platform::privatePermissions()
{
    return std::nullopt;
}

void Platform::keepToUser(const QString &) {}

bool Platform::renameToNew(const QString &from, const QString &to, HeldFiles &heldFiles)
{
    const std::wstring source = nativePath(from);
    const std::wstring target = nativePath(to);
    const auto move = [&] { return moveFile(source, target); };
    return heldFiles.tryAgain([&] { return outcome(move, {source}); });
}

bool Platform::replaceFile(const QString &from, const QString &to, HeldFiles &heldFiles)
{
    const std::wstring source = nativePath(from);
    const std::wstring target = nativePath(to);
    const auto move = [&] { return moveFile(source, target, MOVEFILE_REPLACE_EXISTING); };
    const auto replace = [&] {
        return replaceOpenFile(source, target) || despiteProtection(target, move)
               || replaceSetAside(source, target);
    };
    return !isFolder(target) && heldFiles.tryAgain([&] { return outcome(replace, {source, target}); });
}

bool Platform::removeFile(const QString &path, HeldFiles &heldFiles)
{
    const std::wstring file = nativePath(path);
    const auto remove = [&] { return removeDespiteProtection(file); };
    return heldFiles.tryAgain([&] { return outcome(remove, {file}); });
}

/// By sharing blocks, which ReFS alone knows.
qint64 Platform::copyPart(const QFileDevice &from, const QFileDevice &to, qint64 at, qint64 most)
{
    // What is not in every compiler's headers.
    constexpr DWORD getIntegrity = 0x9027c; // FSCTL_GET_INTEGRITY_INFORMATION
    struct
    {
        WORD algorithm, reserved;
        DWORD flags, bytesOfSum, bytesOfCluster;
    } integrity = {};
    constexpr DWORD duplicateExtents = 0x98344; // FSCTL_DUPLICATE_EXTENTS_TO_FILE
    struct
    {
        HANDLE source;
        LARGE_INTEGER from, to, bytes;
    } part = {};

    const auto handle = [](const QFileDevice &file) {
        return reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
    };
    DWORD answered = 0;
    LARGE_INTEGER size = {};
    part.source = handle(from);
    if (!DeviceIoControl(part.source, getIntegrity, nullptr, 0, &integrity, sizeof(integrity), &answered,
                         nullptr)
        || integrity.bytesOfCluster == 0 || !GetFileSizeEx(part.source, &size))
        return 0;
    const qint64 bytes = std::min(most, size.QuadPart - at);
    if (bytes <= 0)
        return 0;
    // Whole clusters: the last one may reach beyond both files' ends.
    FILE_END_OF_FILE_INFO end = {};
    end.EndOfFile.QuadPart = at + bytes;
    part.from.QuadPart = part.to.QuadPart = at;
    part.bytes.QuadPart =
        (bytes + integrity.bytesOfCluster - 1) / integrity.bytesOfCluster * integrity.bytesOfCluster;
    const bool done =
        SetFileInformationByHandle(handle(to), FileEndOfFileInfo, &end, sizeof(end))
        && DeviceIoControl(handle(to), duplicateExtents, &part, sizeof(part), nullptr, 0, &answered, nullptr);
    return done ? bytes : 0;
}

/// The access list of the copy stays that of its folder, as with any copy there.
void Platform::copyAttributes(const QString &from, QFileDevice &to)
{
    const std::wstring source = nativePath(from);
    const std::wstring target = nativePath(to.fileName());
    WIN32_FIND_STREAM_DATA stream = {};
    const HANDLE search = FindFirstStreamW(source.c_str(), FindStreamInfoStandard, &stream, 0);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        // ":name:$DATA", the name of the content itself being empty
        const std::wstring name = stream.cStreamName;
        if (name.rfind(L"::", 0) != 0)
            copyStream(source + name, target + name);
    } while (FindNextStreamW(search, &stream));
    FindClose(search);
}

void Platform::setModificationTime(QFileDevice &file, const QDateTime &time)
{
    file.setFileTime(time, QFileDevice::FileModificationTime);
}

bool isOneFile(const QString &a, const QString &b)
{
    const WindowsHandle one(nativePath(a), 0, FILE_FLAG_BACKUP_SEMANTICS);
    const WindowsHandle other(nativePath(b), 0, FILE_FLAG_BACKUP_SEMANTICS);
    BY_HANDLE_FILE_INFORMATION first = {};
    BY_HANDLE_FILE_INFORMATION second = {};
    return one.isValid() && other.isValid() && GetFileInformationByHandle(one, &first)
           && GetFileInformationByHandle(other, &second)
           && first.dwVolumeSerialNumber == second.dwVolumeSerialNumber
           && first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
}
