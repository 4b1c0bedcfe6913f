#pragma once

#include <QtGlobal>

#ifdef Q_OS_WIN
#    include <windows.h>

#    include <psapi.h>
#else
#    include <sys/resource.h>
#endif

/// The most memory that this process has had so far, kilobytes.
inline qint64 peakKilobytes()
{
#ifdef Q_OS_WIN
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<qint64>(counters.PeakWorkingSetSize / 1024);
#else
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
#endif
}
