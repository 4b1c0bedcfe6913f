#include "shared/platform/Platform.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <system_error>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#ifdef __GLIBC__
#    include <malloc.h>
#endif
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#    include <sys/xattr.h>
#endif

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

/// True if two names that differ by case alone are one file's, since its file system does not tell upper from
/// lower case.
bool isOneEntry(const QString &from, const QString &to)
{
    if (from == to || from.compare(to, Qt::CaseInsensitive) != 0)
        return false;
    struct stat one = {};
    struct stat other = {};
    if (lstat(QFile::encodeName(from).constData(), &one) != 0
        || lstat(QFile::encodeName(to).constData(), &other) != 0 || one.st_dev != other.st_dev
        || one.st_ino != other.st_ino)
        return false;
    // Hard links may have such names as well: then both are listed.
    const auto path = QFileInfo(to).filesystemFilePath();
    std::error_code failure;
    std::filesystem::directory_iterator entry(path.parent_path(), failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        if (entry->path().filename() == path.filename())
            return false;
    }
    return !failure;
}

} // namespace

qint64 Platform::usableMemory()
{
    const qint64 machine = static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGE_SIZE);
    return std::min({machine, controlGroupLimit(), resourceLimit(RLIMIT_AS), resourceLimit(RLIMIT_DATA)});
}

qint64 Platform::processorTime()
{
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return used.tv_sec * 1000LL + used.tv_nsec / 1'000'000;
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

bool Platform::isMountPlace(const QString &path)
{
    // Where desktops mount what is plugged in.
    static const QRegularExpression places(
        QStringLiteral("^/(media(/[^/]+)?|run/media/[^/]+|mnt|Volumes)/[^/]+/?$"));
    return places.match(path).hasMatch();
}

void Platform::returnFreedMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
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

int Platform::openShared(const QString &)
{
    return -1;
}

int Platform::openUnnamed(const QString &folder, bool forUserAlone)
{
#ifdef O_TMPFILE
    // It gets its name by way of this folder.
    if (access("/proc/self/fd", X_OK) == 0)
        return open(QFile::encodeName(folder).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC,
                    forUserAlone ? 0600 : 0666);
#else
    Q_UNUSED(folder)
    Q_UNUSED(forUserAlone)
#endif
    return -1;
}

bool Platform::giveName(const QFileDevice &file, const QString &path)
{
    const QByteArray unnamed = "/proc/self/fd/" + QByteArray::number(file.handle());
    return linkat(AT_FDCWD, unnamed.constData(), AT_FDCWD, QFile::encodeName(path).constData(),
                  AT_SYMLINK_FOLLOW)
           == 0;
}

void Platform::copyAttributes(const QString &from, QFileDevice &to)
{
#ifdef Q_OS_LINUX
    const QByteArray path = QFile::encodeName(from);
    const auto get = [](auto call) {
        const ssize_t size = call(nullptr, 0);
        QByteArray bytes(std::max<ssize_t>(size, 0), Qt::Uninitialized);
        bytes.truncate(std::max<ssize_t>(call(bytes.data(), bytes.size()), 0));
        return bytes;
    };
    const auto names = get([&](char *list, size_t size) { return listxattr(path.constData(), list, size); });
    for (const QByteArray &name : names.split('\0')) {
        // Those of others are the system's own affair.
        if (!name.startsWith("user.") && name != "system.posix_acl_access" && name != "system.nfs4_acl")
            continue;
        const QByteArray value = get([&](void *bytes, size_t size) {
            return getxattr(path.constData(), name.constData(), bytes, size);
        });
        fsetxattr(to.handle(), name.constData(), value.constData(), value.size(), 0);
    }
#else
    Q_UNUSED(from)
    Q_UNUSED(to)
#endif
}

void Platform::setModificationTime(QFileDevice &file, const QDateTime &time)
{
    // Both times at once: file systems behind libfuse 2 ignore one alone, without a word.
    const auto spec = [](const QDateTime &moment) {
        const auto time = std::chrono::milliseconds(moment.toMSecsSinceEpoch());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
        const std::chrono::nanoseconds rest = time - seconds;
        return timespec{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
    };
    const timespec times[] = {spec(file.fileTime(QFileDevice::FileAccessTime)), spec(time)};
    futimens(file.handle(), times);
}

bool Platform::renameToNew(const QString &from, const QString &to, HeldFiles &)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (isOneEntry(from, to))
        return rename(source.constData(), target.constData()) == 0;
#ifdef RENAME_NOREPLACE
    if (renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP)
        return false;
#endif
    // A file system that does not know this knows hard links, or else only asking first.
    if (link(source.constData(), target.constData()) == 0) {
        if (unlink(source.constData()) == 0 || errno == ENOENT)
            return true;
        unlink(target.constData());
        return false;
    }
    struct stat other = {};
    return errno != EEXIST && lstat(target.constData(), &other) != 0 && errno == ENOENT
           && rename(source.constData(), target.constData()) == 0;
}

bool Platform::replaceFile(const QString &from, const QString &to, HeldFiles &)
{
    return rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool Platform::removeFile(const QString &path, HeldFiles &)
{
    if (QFile::remove(path))
        return true;
    // Servers for Windows refuse it to what is write-protected.
    const QFileDevice::Permissions before = QFile::permissions(path);
    if (!QFile::setPermissions(path, before | QFileDevice::WriteOwner))
        return false;
    const bool removed = QFile::remove(path);
    if (!removed)
        QFile::setPermissions(path, before);
    return removed;
}
