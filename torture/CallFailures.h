#pragma once

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// Lets the calls of this process to the system fail that concern files of a few folders. To be included
/// once: what is defined below stands before the system's own for the program, Qt and all libraries.
namespace CallFailures {

/// What happens at one call.
struct Plan
{
    enum Kind
    {
        None,
        FailOnce,
        FailFrom,  ///< that one and all that follow it
        FailAlike, ///< that one and all of its name that follow it, as on a full disk
        WriteLess,
        KillBefore,
        KillAfter
    };
    Kind kind = None;
    long at = 0; ///< its number, from 1
    int error = 0;
};

/// Shared with the process that watches.
struct Report
{
    std::atomic<long> calls = 0;
    char failed[32] = {}; ///< the first call that failed
};

inline Plan plan;
inline Report *report = nullptr;
inline bool (*isOfTest)(const char *path) = nullptr;

enum class What
{
    Fail,
    Less,
    Usual,
    UsualThenDie
};

inline What next(const char *call, const char *path)
{
    if (!report || !path || !isOfTest(path))
        return What::Usual;
    const long number = ++report->calls;
    if (number == plan.at)
        std::strncpy(report->failed, call, sizeof(report->failed) - 1);
    const bool goesOn = plan.kind == Plan::FailFrom
                        || (plan.kind == Plan::FailAlike && std::strcmp(call, report->failed) == 0);
    if (plan.kind == Plan::None || number < plan.at || (number > plan.at && !goesOn))
        return What::Usual;
    switch (plan.kind) {
    case Plan::WriteLess:
        return What::Less;
    case Plan::KillBefore:
        raise(SIGKILL);
        break;
    case Plan::KillAfter:
        return What::UsualThenDie;
    default:
        break;
    }
    errno = plan.error;
    return What::Fail;
}

/// The path of an open file; a buffer of this thread.
inline const char *pathOf(int file)
{
    thread_local char path[4096];
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const auto length = readlink(link, path, sizeof path - 1);
    path[length < 0 ? 0 : length] = 0;
    return path;
}

/// A path as `openat` and its like have it.
inline const char *pathOf(int folder, const char *path)
{
    return path && path[0] == '/' ? path : pathOf(folder);
}

template <typename Result, typename Call>
Result answer(const char *name, const char *path, Call call)
{
    const int before = errno;
    const What what = next(name, path);
    if (what == What::Fail)
        return static_cast<Result>(-1);
    errno = before;
    const Result result = call();
    if (what == What::UsualThenDie)
        raise(SIGKILL);
    return result;
}

} // namespace CallFailures

#define USUAL(call) reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call))
#define FAILING(result, call, parameters, arguments, path)                                                   \
    extern "C" result call parameters                                                                        \
    {                                                                                                        \
        return CallFailures::answer<result>(#call, path, [&] { return USUAL(call) arguments; });             \
    }
#define FAILING_OPEN(call)                                                                                   \
    extern "C" int call(const char *path, int flags, ...)                                                    \
    {                                                                                                        \
        va_list more;                                                                                        \
        va_start(more, flags);                                                                               \
        const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, mode_t) : 0;                        \
        va_end(more);                                                                                        \
        return CallFailures::answer<int>(#call, path, [&] { return USUAL(call)(path, flags, mode); });       \
    }
#define FAILING_WRITE(call, parameters, arguments, size)                                                     \
    extern "C" ssize_t call parameters                                                                       \
    {                                                                                                        \
        using namespace CallFailures;                                                                        \
        const int before = errno;                                                                            \
        const What what = next(#call, pathOf(file));                                                         \
        if (what == What::Fail)                                                                              \
            return -1;                                                                                       \
        errno = before;                                                                                      \
        if (what == What::Less)                                                                              \
            size /= 2;                                                                                       \
        const ssize_t result = USUAL(call) arguments;                                                        \
        if (what == What::UsualThenDie)                                                                      \
            raise(SIGKILL);                                                                                  \
        return result;                                                                                       \
    }

using CallFailures::pathOf;

FAILING_OPEN(open)
FAILING_OPEN(open64)
FAILING_WRITE(write, (int file, const void *bytes, size_t size), (file, bytes, size), size)
FAILING_WRITE(pwrite64, (int file, const void *bytes, size_t size, off64_t at), (file, bytes, size, at), size)
FAILING_WRITE(copy_file_range,
              (int from, off64_t *read, int file, off64_t *written, size_t size, unsigned flags),
              (from, read, file, written, size, flags), size)
FAILING(int, rename, (const char *from, const char *to) noexcept, (from, to), from)
FAILING(int, renameat2, (int a, const char *from, int b, const char *to, unsigned flags) noexcept,
        (a, from, b, to, flags), from)
FAILING(int, link, (const char *from, const char *to) noexcept, (from, to), to)
FAILING(int, linkat, (int a, const char *from, int b, const char *to, int flags) noexcept,
        (a, from, b, to, flags), to)
FAILING(int, unlink, (const char *path) noexcept, (path), path)
FAILING(int, mkdir, (const char *path, mode_t mode) noexcept, (path, mode), path)
FAILING(int, ftruncate64, (int file, off64_t size) noexcept, (file, size), pathOf(file))
FAILING(int, stat, (const char *path, struct stat *info) noexcept, (path, info), path)
FAILING(int, stat64, (const char *path, struct stat64 *info) noexcept, (path, info), path)
FAILING(int, lstat, (const char *path, struct stat *info) noexcept, (path, info), path)
FAILING(int, lstat64, (const char *path, struct stat64 *info) noexcept, (path, info), path)
FAILING(int, fstat64, (int file, struct stat64 *info) noexcept, (file, info), pathOf(file))
FAILING(int, statx, (int folder, const char *path, int flags, unsigned mask, struct statx *info) noexcept,
        (folder, path, flags, mask, info), pathOf(folder, path))
FAILING(int, access, (const char *path, int mode) noexcept, (path, mode), path)
FAILING(int, fchmod, (int file, mode_t mode) noexcept, (file, mode), pathOf(file))
FAILING(int, chmod, (const char *path, mode_t mode) noexcept, (path, mode), path)
FAILING(int, futimens, (int file, const timespec *times) noexcept, (file, times), pathOf(file))
FAILING(int, flock, (int file, int operation) noexcept, (file, operation), pathOf(file))

/// What the disk itself does is no matter of this program: nothing is flushed, which would take most of the
/// time.
extern "C" int fsync(int file)
{
    return CallFailures::answer<int>("fsync", pathOf(file), [] { return 0; });
}
extern "C" int fdatasync(int file)
{
    return CallFailures::answer<int>("fdatasync", pathOf(file), [] { return 0; });
}
