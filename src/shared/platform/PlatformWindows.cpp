#include "shared/platform/Platform.h"

#include <QDir>

#include <algorithm>
#include <limits>

#include <io.h>
#include <windows.h>

namespace {

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

} // namespace

qint64 Platform::usableMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status))
        return 0;
    return static_cast<qint64>(std::min<quint64>({status.ullTotalPhys, status.ullTotalVirtual, jobLimit()}));
}

bool Platform::flushToDisk(const QFileDevice &file)
{
    return _commit(file.handle()) == 0;
}

// The log of the file system keeps its names in order.
void Platform::flushFolder(const QString &) {}

void Platform::lowerThreadPriority()
{
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

std::optional<QFileDevice::Permissions> Platform::privatePermissions()
{
    return std::nullopt;
}

bool Platform::renameToNew(const QString &from, const QString &to)
{
    const auto native = [](const QString &path) { return QDir::toNativeSeparators(path).toStdWString(); };
    return MoveFileExW(native(from).c_str(), native(to).c_str(), MOVEFILE_WRITE_THROUGH) != 0;
}
