#pragma once

#include <QFile>
#include <QStringList>

#include <functional>

#include <dlfcn.h>
#include <unistd.h>

/// What this program, with Qt and all libraries, does to names and the disk: "flush PATH", "rename FROM TO"
/// and "remove PATH" in order. To be included once: what is defined below stands before the system's own.
inline QStringList &syscallLog()
{
    static auto *const log = new QStringList; // outlives all that may still call
    return *log;
}

/// What happens before each call, which fails with the error that it gives; 0 for none.
inline std::function<int(const QString &call)> &beforeSyscall()
{
    static auto *const hook = new std::function<int(const QString &)>;
    return *hook;
}

#define LOGGED(call, parameters, arguments, text)                                                            \
    extern "C" int call parameters noexcept                                                                  \
    {                                                                                                        \
        syscallLog().append(text);                                                                           \
        errno = beforeSyscall() ? beforeSyscall()(syscallLog().last()) : 0;                                  \
        if (errno != 0)                                                                                      \
            return -1;                                                                                       \
        return reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call)) arguments;                         \
    }

/// The error with which the next flushes fail; 0 for none.
inline int &failingFlush()
{
    static int error = 0;
    return error;
}

extern "C" int fsync(int file)
{
    syscallLog().append("flush " + QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(file)));
    errno = failingFlush();
    return errno ? -1 : reinterpret_cast<decltype(&fsync)>(dlsym(RTLD_NEXT, "fsync"))(file);
}

LOGGED(rename, (const char *from, const char *to), (from, to), QStringLiteral("rename %1 %2").arg(from, to))
LOGGED(renameat2, (int a, const char *from, int b, const char *to, unsigned flags), (a, from, b, to, flags),
       QStringLiteral("rename %1 %2").arg(from, to))
LOGGED(linkat, (int a, const char *from, int b, const char *to, int flags), (a, from, b, to, flags),
       QStringLiteral("link %1").arg(to))
LOGGED(unlink, (const char *path), (path), QStringLiteral("remove %1").arg(path))
