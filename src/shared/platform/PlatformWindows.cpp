#include "shared/platform/Platform.h"

#include <QDir>

#include <io.h>
#include <windows.h>

qint64 Platform::usableMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status))
        return 0;
    return static_cast<qint64>(qMin(status.ullTotalPhys, status.ullTotalVirtual));
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
