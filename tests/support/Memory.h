#pragma once

#include <QtGlobal>

#include <sys/resource.h>

/// The most memory that this process has had so far, kilobytes.
inline qint64 peakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}
