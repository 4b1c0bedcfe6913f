#include "shared/platform/Platform.h"

#include <QRegularExpression>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <utility>

#include <windows.h>
// After it.
#include <psapi.h>

namespace {

#ifdef __MINGW32__
// This compiler's runtime frees what a thread keeps for itself before it ends it. Qt keeps the stack of
// regular expressions that are compiled to machine code there, and uses those itself, as when it looks for
// plug-ins.
[[maybe_unused]] const bool withoutCompiledExpressions = qputenv("QT_ENABLE_REGEXP_JIT", "0");
#endif

// A drive without its medium is none, and no box of the system's has to say so.
[[maybe_unused]] const UINT errorMode = SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);

// Who has died of an error has no window to tell it in.
[[maybe_unused]] const int runtimeErrorMode = _set_error_mode(_OUT_TO_STDERR);

/// Of a time that is told in units of 100 ns.
double milliseconds(FILETIME time)
{
    return static_cast<double>(quint64(time.dwHighDateTime) << 32 | time.dwLowDateTime) / 1e4;
}

/// What the job that the process runs in allows it, bytes.
quint64 jobLimit()
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION job = {};
    if (!QueryInformationJobObject(nullptr, JobObjectExtendedLimitInformation, &job, sizeof(job), nullptr))
        return std::numeric_limits<quint64>::max();
    quint64 limit = std::numeric_limits<quint64>::max();
    if (job.BasicLimitInformation.LimitFlags & JOB_OBJECT_LIMIT_PROCESS_MEMORY)
        limit = job.ProcessMemoryLimit;
    if (job.BasicLimitInformation.LimitFlags & JOB_OBJECT_LIMIT_JOB_MEMORY)
        limit = std::min<quint64>(limit, job.JobMemoryLimit);
    return limit;
}

void (*markOfCrash)() = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER filterBefore = nullptr;

LONG WINAPI onCrash(EXCEPTION_POINTERS *exception)
{
    markOfCrash();
    return filterBefore ? filterBefore(exception) : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

qint64 Platform::usableMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status))
        return 0;
    return static_cast<qint64>(std::min<quint64>({status.ullTotalPhys, status.ullTotalVirtual, jobLimit()}));
}

qint64 Platform::usedMemory()
{
    PROCESS_MEMORY_COUNTERS memory = {};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory))
               ? static_cast<qint64>(memory.PagefileUsage)
               : 0;
}

qint64 Platform::processorTime()
{
    FILETIME created, ended, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user))
        return 0;
    return static_cast<qint64>(milliseconds(kernel) + milliseconds(user));
}

double Platform::threadProcessorTime()
{
    FILETIME created, ended, kernel, user;
    if (!GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user))
        return 0;
    return milliseconds(kernel) + milliseconds(user);
}

bool Platform::isMountPlace(const QString &path)
{
    static const QRegularExpression places(
        QStringLiteral("^([A-Za-z]:|[\\\\/]{2}[^\\\\/]+[\\\\/][^\\\\/]+)[\\\\/]?$"));
    return places.match(path).hasMatch();
}

std::shared_ptr<void> Platform::keepScreenAwake()
{
    SetThreadExecutionState(ES_CONTINUOUS | ES_DISPLAY_REQUIRED);
    return {nullptr, [](void *) { SetThreadExecutionState(ES_CONTINUOUS); }};
}

// Large pages want a privilege that users do not have.
void Platform::useLargePages(void *, size_t) {}

void Platform::returnFreedMemory()
{
    HeapCompact(GetProcessHeap(), 0);
}

void Platform::returnLargeBlocksAtOnce() {}

void Platform::whenAskedToEnd(const std::function<void()> &) {}

// Before 6.5 Qt makes no more than frames dark by itself.
std::shared_ptr<void> Platform::followDarkDesktop()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "windows:darkmode=2");
        return {nullptr, [](void *) { qunsetenv("QT_QPA_PLATFORM"); }};
    }
#endif
    return {};
}

void Platform::whenCrashing(void (*mark)())
{
    if (std::exchange(markOfCrash, mark))
        return;
    filterBefore = SetUnhandledExceptionFilter(onCrash);
    std::signal(SIGABRT, [](int) { markOfCrash(); }); // which no filter sees
}

void Platform::lowerThreadPriority()
{
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}
