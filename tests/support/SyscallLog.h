#pragma once

#include <QtCore>

#include <cerrno>
#include <functional>

#ifdef Q_OS_WIN
#    include "support/Imports.h"
#else
#    include <dlfcn.h>
#    include <unistd.h>
#endif

/// What this program, with Qt and all libraries, does to names and the disk: "flush PATH", "rename FROM TO"
/// and "remove PATH" in order. To be included once: what is defined below stands before the system's own.
inline QStringList &syscallLog()
{
    static auto *const log = new QStringList; // outlives all that may still call
    return *log;
}

/// What happens before each call, which fails with the error that it gives, an `errno`; 0 for none.
inline std::function<int(const QString &call)> &beforeSyscall()
{
    static auto *const hook = new std::function<int(const QString &)>;
    return *hook;
}

/// True if the call is to go to the system.
inline bool logged(const QString &call)
{
    syscallLog().append(call);
    errno = beforeSyscall() ? beforeSyscall()(call) : 0;
    return errno == 0;
}

#ifdef Q_OS_WIN

#    define LOGGED(call, parameters, arguments, text)                                                        \
        static const decltype(&call) usual##call =                                                           \
            Imports::replace<decltype(&call)>(#call, [] parameters -> BOOL {                                 \
                if (logged(text))                                                                            \
                    return usual##call arguments;                                                            \
                SetLastError(errno == EXDEV    ? ERROR_NOT_SAME_DEVICE                                       \
                             : errno == EACCES ? ERROR_ACCESS_DENIED                                         \
                                               : ERROR_NOT_SUPPORTED);                                       \
                return FALSE;                                                                                \
            });

/// A path in the form that Qt has.
inline QString plain(const wchar_t *path)
{
    QString name = QDir::fromNativeSeparators(QString::fromWCharArray(path));
    return name.startsWith("//?/") ? name.mid(4) : name;
}
inline QString plain(HANDLE file)
{
    wchar_t name[MAX_PATH] = {};
    GetFinalPathNameByHandleW(file, name, MAX_PATH, 0);
    return plain(name);
}

LOGGED(MoveFileExW, (const wchar_t *from, const wchar_t *to, DWORD flags), (from, to, flags),
       QStringLiteral("rename %1 %2").arg(plain(from), plain(to)))
LOGGED(DeleteFileW, (const wchar_t *path), (path), QStringLiteral("remove %1").arg(plain(path)))
LOGGED(FlushFileBuffers, (HANDLE file), (file), QStringLiteral("flush %1").arg(plain(file)))

#else

#    define LOGGED(call, parameters, arguments, text)                                                        \
        extern "C" int call parameters noexcept                                                              \
        {                                                                                                    \
            return logged(text) ? reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call)) arguments : -1; \
        }

extern "C" int fsync(int file)
{
    const QString path = QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(file));
    return logged("flush " + path) ? reinterpret_cast<decltype(&fsync)>(dlsym(RTLD_NEXT, "fsync"))(file) : -1;
}

LOGGED(rename, (const char *from, const char *to), (from, to), QStringLiteral("rename %1 %2").arg(from, to))
LOGGED(renameat2, (int a, const char *from, int b, const char *to, unsigned flags), (a, from, b, to, flags),
       QStringLiteral("rename %1 %2").arg(from, to))
LOGGED(linkat, (int a, const char *from, int b, const char *to, int flags), (a, from, b, to, flags),
       QStringLiteral("link %1").arg(to))
LOGGED(unlink, (const char *path), (path), QStringLiteral("remove %1").arg(path))

#endif
