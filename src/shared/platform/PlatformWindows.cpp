#include "shared/platform/Platform.h"

#include "shared/platform/NativePath.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>

#include <windows.h>

#include <fcntl.h>
#include <io.h>

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

void copyStream(const std::wstring &from, const std::wstring &to)
{
    const HANDLE source =
        CreateFileW(from.c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    const HANDLE target =
        CreateFileW(to.c_str(), GENERIC_WRITE, shareAll, nullptr, CREATE_ALWAYS, 0, nullptr);
    char bytes[1 << 16];
    DWORD length = 0;
    while (source != INVALID_HANDLE_VALUE && target != INVALID_HANDLE_VALUE
           && ReadFile(source, bytes, sizeof(bytes), &length, nullptr) && length > 0
           && WriteFile(target, bytes, length, &length, nullptr)) {
    }
    for (const HANDLE file : {source, target}) {
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
    }
}

#ifdef __MINGW32__
// This compiler's runtime frees what a thread keeps for itself before it ends it. Qt keeps the stack of
// regular expressions that are compiled to machine code there, and uses those itself, as when it looks for
// plug-ins.
[[maybe_unused]] const bool withoutCompiledExpressions = qputenv("QT_ENABLE_REGEXP_JIT", "0");
#endif

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

qint64 Platform::processorTime()
{
    FILETIME created, ended, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user))
        return 0;
    const auto milliseconds = [](FILETIME time) { // told in units of 100 ns
        return static_cast<qint64>((quint64(time.dwHighDateTime) << 32 | time.dwLowDateTime) / 10'000);
    };
    return milliseconds(kernel) + milliseconds(user);
}

bool Platform::flushToDisk(const QFileDevice &file)
{
    return _commit(file.handle()) == 0;
}

// The log of the file system keeps its names in order.
void Platform::flushFolder(const QString &) {}

bool Platform::isMountPlace(const QString &path)
{
    static const QRegularExpression places(
        QStringLiteral("^([A-Za-z]:|[\\\\/]{2}[^\\\\/]+[\\\\/][^\\\\/]+)[\\\\/]?$"));
    return places.match(path).hasMatch();
}

void Platform::returnFreedMemory()
{
    HeapCompact(GetProcessHeap(), 0);
}

void Platform::lowerThreadPriority()
{
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

int Platform::openShared(const QString &path)
{
    const HANDLE file = CreateFileW(nativePath(path).c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return -1;
    const int handle = _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_RDONLY);
    if (handle < 0)
        CloseHandle(file);
    return handle;
}

int Platform::openUnnamed(const QString &, bool)
{
    return -1;
}

bool Platform::giveName(const QFileDevice &, const QString &)
{
    return false;
}

std::optional<QFileDevice::Permissions> Platform::privatePermissions()
{
    return std::nullopt;
}

/// The access list of the copy stays that of its folder, as with any copy there.
void Platform::copyAttributes(const QString &from, QFileDevice &to)
{
    WIN32_FIND_STREAM_DATA stream = {};
    const HANDLE search = FindFirstStreamW(nativePath(from).c_str(), FindStreamInfoStandard, &stream, 0);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        // ":name:$DATA", the name of the content itself being empty
        const std::wstring name = stream.cStreamName;
        if (name.rfind(L"::", 0) != 0)
            copyStream(nativePath(from) + name, nativePath(to.fileName()) + name);
    } while (FindNextStreamW(search, &stream));
    FindClose(search);
}

void Platform::setModificationTime(QFileDevice &file, const QDateTime &time)
{
    file.setFileTime(time, QFileDevice::FileModificationTime);
}
