#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#    include <sys/xattr.h>
#endif

namespace {

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

bool Platform::isMissing(const QString &path)
{
    std::error_code failure;
    const auto status = std::filesystem::status(QFileInfo(path).filesystemFilePath(), failure);
    return status.type() == std::filesystem::file_type::not_found;
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

void Platform::markAtWork(const QFileDevice &file)
{
    flock(file.handle(), LOCK_EX | LOCK_NB);
}

bool Platform::isAtWork(const QString &path)
{
    const int file =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    const bool isLocked = file >= 0 && flock(file, LOCK_SH | LOCK_NB) < 0 && errno == EWOULDBLOCK;
    if (file >= 0)
        close(file);
    return isLocked;
}

bool Platform::giveName(const QFileDevice &file, const QString &path)
{
    const QByteArray unnamed = "/proc/self/fd/" + QByteArray::number(file.handle());
    return linkat(AT_FDCWD, unnamed.constData(), AT_FDCWD, QFile::encodeName(path).constData(),
                  AT_SYMLINK_FOLLOW)
           == 0;
}

std::optional<QFileDevice::Permissions> Platform::privatePermissions()
{
    return QFileDevice::ReadOwner | QFileDevice::WriteOwner;
}

void Platform::keepToUser(const QString &folder)
{
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
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

qint64 Platform::copyPart([[maybe_unused]] const QFileDevice &from, [[maybe_unused]] const QFileDevice &to,
                          [[maybe_unused]] qint64 at, [[maybe_unused]] qint64 most)
{
#ifdef Q_OS_LINUX
    off64_t read = at;
    off64_t written = at;
    return std::max<qint64>(copy_file_range(from.handle(), &read, to.handle(), &written, most, 0), 0);
#else
    return 0;
#endif
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

bool isOneFile(const QString &a, const QString &b)
{
    std::error_code ignored; // one that does not exist is no other file
    return std::filesystem::equivalent(QFileInfo(a).filesystemFilePath(), QFileInfo(b).filesystemFilePath(),
                                       ignored);
}
