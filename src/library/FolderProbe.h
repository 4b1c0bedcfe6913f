#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

enum class FolderState
{
    There,
    Gone, ///< but the folder that it was in is there
    Away  ///< with its drive, share or mount point, or cannot be looked at
};

/// Looks at all paths at once in the background, and waits `milliseconds` at most for the answers. A path
/// without an answer, such as one on a network drive that is gone, has no entry.
[[nodiscard]] QHash<QString, FolderState> probeFolders(const QStringList &paths, int milliseconds);
