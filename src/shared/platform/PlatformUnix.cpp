#include "shared/platform/Platform.h"

#include <QFile>

#include <algorithm>
#include <limits>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr qint64 unlimited = std::numeric_limits<qint64>::max();

/// The number in a control group's limit file; no limit for "max", a missing file or nonsense.
qint64 limitInFile(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return unlimited;
    bool isNumber = false;
    const qint64 limit = file.readLine().trimmed().toLongLong(&isNumber);
    return isNumber && limit > 0 ? limit : unlimited;
}

/// The least limit of the process's memory control group and of all above it, for both generations.
qint64 controlGroupLimit()
{
    QFile file(QStringLiteral("/proc/self/cgroup"));
    if (!file.open(QIODevice::ReadOnly))
        return unlimited;

    qint64 limit = unlimited;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        // hierarchy number:controllers:path, the second generation having no controllers
        const QList<QByteArray> fields = line.split(':');
        if (fields.size() != 3)
            continue;
        const bool second = fields[1].isEmpty();
        if (!second && !fields[1].split(',').contains("memory"))
            continue;
        const QString root =
            second ? QStringLiteral("/sys/fs/cgroup") : QStringLiteral("/sys/fs/cgroup/memory");
        const QString name =
            second ? QStringLiteral("/memory.max") : QStringLiteral("/memory.limit_in_bytes");
        QString group = QFile::decodeName(fields[2]);
        while (!group.isEmpty()) {
            limit = std::min(limit, limitInFile(root + group + name));
            group.truncate(group.lastIndexOf(QLatin1Char('/')));
        }
        limit = std::min(limit, limitInFile(root + name));
    }
    return limit;
}

qint64 resourceLimit(decltype(RLIMIT_AS) resource)
{
    rlimit limit = {};
    if (getrlimit(resource, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return unlimited;
    return static_cast<qint64>(std::min<rlim_t>(limit.rlim_cur, unlimited));
}

} // namespace

qint64 Platform::usableMemory()
{
    const qint64 machine = static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGE_SIZE);
    return std::min({machine, controlGroupLimit(), resourceLimit(RLIMIT_AS), resourceLimit(RLIMIT_DATA)});
}

bool Platform::flushToDisk(const QFileDevice &file)
{
    // A file system that does not know this writes when it likes.
    return fsync(file.handle()) == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
}

void Platform::flushFolder(const QString &path)
{
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
}

void Platform::lowerThreadPriority()
{
#ifdef Q_OS_LINUX
    constexpr int nice = 10;
    setpriority(PRIO_PROCESS, gettid(), nice); // of a thread, unlike what POSIX says
#endif
}

std::optional<QFileDevice::Permissions> Platform::privatePermissions()
{
    return QFileDevice::ReadOwner | QFileDevice::WriteOwner;
}

bool Platform::renameToNew(const QString &from, const QString &to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
#ifdef RENAME_NOREPLACE
    if (renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;
#endif
    // A file system that does not know this knows hard links, or else only asking first.
    if (link(source.constData(), target.constData()) == 0) {
        if (unlink(source.constData()) == 0 || errno == ENOENT)
            return true;
        unlink(target.constData());
        return false;
    }
    return errno != EEXIST && !QFile::exists(to) && rename(source.constData(), target.constData()) == 0;
}
