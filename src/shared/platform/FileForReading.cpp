#include "shared/platform/FileForReading.h"

#include "shared/platform/Platform.h"

FileForReading::FileForReading(const QString &path)
    : QFile(path)
    , path(path)
{
}

bool FileForReading::open(OpenMode mode)
{
    if (mode.testFlag(WriteOnly))
        return false;
    const int handle = Platform::openShared(path);
    return handle >= 0 ? QFile::open(handle, mode, AutoCloseHandle) : QFile::open(mode);
}
