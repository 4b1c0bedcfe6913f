#pragma once

#include <QFile>
#include <QStringList>

#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

/// What this program, with Qt and all libraries, does to names and the disk: "flush PATH", "rename FROM TO"
/// and "remove PATH" in order. To be included once: the functions below stand before those of the system.
inline QStringList &syscallLog()
{
    static auto *const log = new QStringList; // outlives all that may still call
    return *log;
}

#define LOGGED(call, text, ...)                                                                              \
    (syscallLog().append(text), reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call))(__VA_ARGS__))

extern "C" int fsync(int file)
{
    return LOGGED(fsync, "flush " + QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(file)), file);
}

extern "C" int rename(const char *from, const char *to) noexcept
{
    return LOGGED(rename, QStringLiteral("rename %1 %2").arg(from, to), from, to);
}

extern "C" int renameat2(int a, const char *from, int b, const char *to, unsigned flags) noexcept
{
    return LOGGED(renameat2, QStringLiteral("rename %1 %2").arg(from, to), a, from, b, to, flags);
}

extern "C" int unlink(const char *path) noexcept
{
    return LOGGED(unlink, QStringLiteral("remove %1").arg(path), path);
}
