#include "fileops/FileCopy.h"

#include "shared/platform/FileForReading.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QtDebug>

#include <utility>

namespace {

using FileCopy::Existing;

constexpr qint64 chunkBytes = 1 << 20;

[[nodiscard]] bool copyContents(QFile &from, QFile &to, FileCopy::Progress &progress)
{
    for (qint64 bytes = 1; bytes > 0 && !progress.cancelled; progress.done += bytes)
        bytes = Platform::copyPart(from, to, progress.done, chunkBytes);
    // The rest, or all of it, where the system knows no such way.
    if (!from.seek(progress.done) || !to.seek(progress.done))
        return false;
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

/// True if something stands at the target, or is not there, as it is meant to be.
bool standsAsExpected(const QString &target, Existing existing)
{
    const QFileInfo old(target);
    return (old.exists() || old.isSymLink()) == (existing == Existing::Replace);
}

/// Moves within a file system: one step that keeps all that belongs to the file. What a link points to may be
/// another thing at the target, so no link goes this way.
[[nodiscard]] bool rename(const QString &source, const QString &target, Existing existing,
                          HeldFiles &heldFiles)
{
    const QFileInfo from(source);
    const QFileInfo to(target);
    if (!from.isFile() || from.isSymLink() || !standsAsExpected(target, existing)
        || isOneFile(source, target))
        return false;
    if (!(existing == Existing::Replace ? Platform::replaceFile(source, target, heldFiles)
                                        : Platform::renameToNew(source, target, heldFiles)))
        return false;
    Platform::flushFolder(to.path());
    Platform::flushFolder(from.path());
    return true;
}

} // namespace

bool FileCopy::copy(const QString &source, const QString &target, Existing existing, Progress &progress)
{
    const QFileInfo before(source);
    FileForReading from(source);
    if (!standsAsExpected(target, existing) || !before.isFile() || isOneFile(source, target) || !from.open())
        return false;
    progress.done = 0;
    progress.total = before.size();

    using Link = ReplacementFile::Link;
    using Name = ReplacementFile::Name;
    ReplacementFile to(target, progress.heldFiles, Link::Replace);
    const bool mayBeOneFolder =
        existing == Existing::Replace && before.fileName() == QFileInfo(target).fileName();
    if (!to.create(mayBeOneFolder ? Name::Hidden : Name::None)
        || (mayBeOneFolder && isSeenBeside(source, to.fileName())) || !copyContents(from, to, progress))
        return false;
    const QFileInfo after(source);
    if (to.size() != before.size() || after.size() != before.size()
        || after.lastModified() != before.lastModified()) {
        qDebug() << "Changed while it was copied:" << source;
        return false;
    }
    to.takeAttributes(source);
    to.flush();
    Platform::setModificationTime(to, before.lastModified());
    return existing == Existing::Keep ? to.commitAsNew() : to.commit();
}

FileCopy::Moved FileCopy::move(const QString &source, const QString &target, Existing existing,
                               Progress &progress)
{
    if (rename(source, target, existing, progress.heldFiles))
        return Moved::Yes;
    // Not every file system lets the copy have the same times: the source is compared with what it was.
    const QFileInfo info(source);
    const std::pair before(info.size(), info.lastModified());
    if (!copy(source, target, existing, progress))
        return Moved::No;
    const QFileInfo now(source);
    const bool isSame = before == std::pair(now.size(), now.lastModified());
    const QFileInfo to(target);
    const bool stands = to.isFile() && to.size() == before.first && !isOneFile(source, target);
    const bool mayGo = stands && isSame && !progress.cancelled;
    return mayGo && Platform::removeFile(source, progress.heldFiles) ? Moved::Yes : Moved::Copied;
}

bool FileCopy::moveToTrash(const QString &path, Progress &progress)
{
    const auto moveAcross = [&progress](const QString &from, const QString &to) {
        const Moved moved = move(from, to, Existing::Keep, progress);
        if (moved == Moved::Copied && QFileInfo::exists(from)) {
            if (!Platform::removeFile(to, progress.heldFiles))
                qDebug() << "Cannot remove" << to;
            return false;
        }
        return moved != Moved::No;
    };
    return Platform::moveToTrash(path, moveAcross, progress.heldFiles);
}
