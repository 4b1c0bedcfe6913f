#include "fileops/FileCopy.h"

#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QtDebug>

namespace {

constexpr qint64 chunkBytes = 1 << 20;

[[nodiscard]] bool copyContents(QFile &from, QFile &to, FileCopy::Progress &progress)
{
    while (!from.atEnd() && !progress.cancelled) {
        const QByteArray chunk = from.read(chunkBytes);
        if (chunk.isEmpty() || to.write(chunk) != chunk.size())
            return false;
        progress.done += chunk.size();
    }
    return !progress.cancelled && from.error() == QFileDevice::NoError;
}

/// True if a file of this name, just made beside the target, stands beside the source as well: their folders
/// are one, mounted twice, which devices and inodes do not tell.
bool isSeenBeside(const QString &source, const QString &fileName)
{
    return QFileInfo::exists(QFileInfo(source).dir().filePath(QFileInfo(fileName).fileName()));
}

/// Removes a file, a write-protected one too, which some systems refuse.
[[nodiscard]] bool removeFile(const QString &path)
{
    if (QFile::remove(path))
        return true;
    const QFileDevice::Permissions before = QFile::permissions(path);
    if (!QFile::setPermissions(path, before | QFileDevice::WriteOwner))
        return false;
    const bool removed = QFile::remove(path);
    if (!removed)
        QFile::setPermissions(path, before);
    return removed;
}

} // namespace

bool FileCopy::copy(const QString &source, const QString &target, Existing existing, Progress &progress)
{
    const QFileInfo old(target);
    const bool standsThere = old.exists() || old.isSymLink();
    if (standsThere != (existing == Existing::Replace))
        return false;
    const QFileInfo before(source);
    QFile from(source);
    if (!before.isFile() || isOneFile(source, target) || !from.open(QIODevice::ReadOnly))
        return false;
    progress.done = 0;
    progress.total = before.size();

    using Link = ReplacementFile::Link;
    ReplacementFile to(target, Link::Replace);
    if (!to.create() || (before.fileName() == old.fileName() && isSeenBeside(source, to.fileName()))
        || !copyContents(from, to, progress))
        return false;
    const QFileInfo after(source);
    if (to.size() != before.size() || after.size() != before.size()
        || after.lastModified() != before.lastModified()) {
        qDebug() << "Changed while it was copied:" << source;
        return false;
    }
    to.setPermissions(before.permissions());
    to.flush();
    to.setFileTime(before.lastModified(), QFileDevice::FileModificationTime);
    return existing == Existing::Keep ? to.commitAsNew() : to.commit();
}

bool FileCopy::removeCopied(const QString &source, const QString &target)
{
    const QFileInfo from(source);
    const QFileInfo to(target);
    // Some file systems keep times by two seconds.
    constexpr qint64 coarsestMs = 2000;
    return to.isFile() && from.size() == to.size() && !isOneFile(source, target)
           && qAbs(from.lastModified().msecsTo(to.lastModified())) <= coarsestMs && removeFile(source);
}

bool FileCopy::moveToTrash(const QString &path, Progress &progress)
{
    return Platform::moveToTrash(path, [&progress](const QString &from, const QString &to) {
        if (!copy(from, to, Existing::Keep, progress))
            return false;
        const bool moved = removeCopied(from, to) || !QFileInfo::exists(from);
        if (!moved)
            QFile::remove(to);
        return moved;
    });
}
