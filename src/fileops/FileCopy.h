#pragma once

#include "shared/platform/HeldFiles.h"

#include <QString>

#include <atomic>

/// Copies and moves single files so that at any moment, and after any failure, a file stands complete in its
/// old place, in its new place, or in both. May run on any thread.
namespace FileCopy {

/// What becomes of a file that stands at the target.
enum class Existing
{
    Keep,   ///< it stays, and nothing is copied
    Replace ///< the new one takes its place in one step; a link is replaced itself. Nothing is copied to
            ///< where nothing stands
};

/// How far a run of copies is, between the thread that copies and the one that shows it. Bytes.
struct Progress
{
    std::atomic<qint64> done = 0;
    std::atomic<qint64> total = 0;
    std::atomic_bool cancelled = false; ///< set by the user; the copy in flight is dropped
    HeldFiles heldFiles;
};

/// What has become of a file that was to be moved.
enum class Moved
{
    No,     ///< all is as it was
    Copied, ///< its copy stands at the target, and it could not be removed
    Yes
};

/// Copies `source` with its modification time, permissions, extended attributes and access list. False if the
/// copy does not stand at `target` then: what stood there is as it was, and `source` is always left. A file
/// is never copied onto itself, by whatever path, and a source that changes while it is read is not copied.
[[nodiscard]] bool copy(const QString &source, const QString &target, Existing existing, Progress &progress);

/// Moves `source` as it is, or where its file system ends, by a copy; it is removed when that stands
/// complete, unless it has changed or the user has cancelled.
[[nodiscard]] Moved move(const QString &source, const QString &target, Existing existing, Progress &progress);

/// Moves a file to the user's trash: renamed, or where its own file system has none, copied and removed.
/// False if no trash takes it; the file stays then.
[[nodiscard]] bool moveToTrash(const QString &path, Progress &progress);

} // namespace FileCopy
