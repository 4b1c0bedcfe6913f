#include "shared/Platform.h"

#include <QFileDevice>

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
