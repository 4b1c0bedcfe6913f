#pragma once

#include <QtTest>

#include <functional>

#ifdef Q_OS_WIN
#    include "support/Imports.h"

#    include <atomic>
#    include <limits>
#    include <vector>
#else
#    include <csignal>
#    include <sys/resource.h>
#    include <unistd.h>
#endif

/// Runs something while the system makes it fail.
namespace Failures {

#ifdef Q_OS_WIN

inline constexpr bool permissionsCount = false; ///< files that other programs hold open do

inline void giveToNobody(const QStringList &) {}

inline void asNobody(const std::function<void()> &action)
{
    action();
}

/// Another program has files open, and shares as much of them with others.
inline void whileHeld(const QFileInfoList &files, DWORD share, const std::function<void()> &action)
{
    std::vector<HANDLE> held;
    for (const QFileInfo &file : files)
        held.push_back(CreateFileW(file.filesystemFilePath().c_str(), GENERIC_READ, share, nullptr,
                                   OPEN_EXISTING, 0, nullptr));
    action();
    for (const HANDLE file : held)
        CloseHandle(file);
}

/// Nothing that stands in a folder can be replaced, renamed or removed.
inline void inClosedFolder(const QString &folder, const std::function<void()> &action)
{
    whileHeld(QDir(folder).entryInfoList(QDir::Files | QDir::Hidden), FILE_SHARE_READ | FILE_SHARE_WRITE,
              action);
}

/// A file cannot be read.
inline void onUnreadableFile(const QString &path, const std::function<void()> &action)
{
    whileHeld({QFileInfo(path)}, 0, action);
}

/// No file of the test grows beyond so many bytes, as on a disk that is full.
inline void onFullDisk(qint64 bytes, const std::function<void()> &action)
{
    static std::atomic<qint64> room;
    static decltype(&WriteFile) write = nullptr;
    constexpr auto writeToFullDisk = [](HANDLE file, const void *content, DWORD count, DWORD *written,
                                        OVERLAPPED *overlapped) -> BOOL {
        LARGE_INTEGER position = {};
        wchar_t name[MAX_PATH] = {};
        GetFinalPathNameByHandleW(file, name, MAX_PATH, 0);
        const bool ofTest = QString::fromWCharArray(name).contains(QCoreApplication::applicationName() + '-');
        SetFilePointerEx(file, {}, &position, FILE_CURRENT);
        if (!ofTest || position.QuadPart + count <= room)
            return write(file, content, count, written, overlapped);
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    };
    room = bytes;
    write = Imports::replace<decltype(write)>("WriteFile", writeToFullDisk);
    action();
    room = std::numeric_limits<qint64>::max();
}

#else

inline constexpr bool permissionsCount = true;

/// These belong to the user whom `asNobody` knows, where that is another.
inline void giveToNobody(const QStringList &paths)
{
    for (const QString &path : paths)
        QVERIFY(geteuid() != 0 || chown(qPrintable(path), 65534, 65534) == 0);
}

/// Permissions count: root, whom none stops, is nobody for that long.
inline void asNobody(const std::function<void()> &action)
{
    const bool root = geteuid() == 0;
    QVERIFY(!root || seteuid(65534) == 0);
    action();
    QVERIFY(!root || seteuid(0) == 0);
}

/// Nothing in a folder can be made, replaced, renamed or removed. What it stands in has been given to nobody.
inline void inClosedFolder(const QString &folder, const std::function<void()> &action)
{
    giveToNobody({folder});
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
    asNobody(action);
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

/// A file or folder, which may belong to nobody, cannot be read.
inline void onUnreadableFile(const QString &path, const std::function<void()> &action)
{
    QVERIFY(QFile::setPermissions(path, {}));
    asNobody(action);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

/// No file grows beyond so many bytes, as on a disk that is full.
inline void onFullDisk(qint64 bytes, const std::function<void()> &action)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full = {static_cast<rlim_t>(bytes), before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    action();
    setrlimit(RLIMIT_FSIZE, &before);
}

#endif

} // namespace Failures
