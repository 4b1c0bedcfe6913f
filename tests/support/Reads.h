#pragma once

#include <QtGlobal>

#include <functional>

#ifdef Q_OS_WIN
#    include "support/Imports.h"
#else
#    include <sys/stat.h>
#    include <sys/syscall.h>
#    include <unistd.h>
#endif

/// What happens before each read from a file, in the thread that reads: a drive that is slow, or does not
/// answer any more. To be included once: what is defined below stands before the system's own.
inline std::function<void(qint64 position, qint64 bytes)> &beforeRead()
{
    static auto *const hook = new std::function<void(qint64, qint64)>; // outlives all that may still read
    return *hook;
}

#ifdef Q_OS_WIN

static const decltype(&ReadFile) usualRead = Imports::replace<decltype(&ReadFile)>(
    "ReadFile", [](HANDLE file, void *bytes, DWORD count, DWORD *read, OVERLAPPED *overlapped) -> BOOL {
        LARGE_INTEGER position = {};
        if (beforeRead() && SetFilePointerEx(file, {}, &position, FILE_CURRENT))
            beforeRead()(position.QuadPart, count);
        return usualRead(file, bytes, count, read, overlapped);
    });

#else

ssize_t read(int file, void *bytes, size_t count)
{
    struct stat info = {};
    // An event loop reads, too, as it wakes up.
    if (beforeRead() && fstat(file, &info) == 0 && S_ISREG(info.st_mode))
        beforeRead()(lseek(file, 0, SEEK_CUR), static_cast<qint64>(count));
    return syscall(SYS_read, file, bytes, count);
}

#    ifdef Q_OS_LINUX
// A copy that the system makes by itself reads, too.
extern "C" ssize_t copy_file_range(int from, off64_t *position, int to, off64_t *target, size_t count,
                                   unsigned flags)
{
    struct stat info = {};
    if (beforeRead() && fstat(from, &info) == 0 && *position < info.st_size)
        beforeRead()(*position, static_cast<qint64>(count));
    return syscall(SYS_copy_file_range, from, position, to, target, count, flags);
}
#    endif

#endif
