#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

/// Looks which of the paths exist, all at once in the background, and waits `milliseconds` at most for the
/// answers. A path without an answer, such as one on a network drive that is gone, has no entry.
[[nodiscard]] QHash<QString, bool> probeFolders(const QStringList &paths, int milliseconds);
