#pragma once

#include <QString>

#include <functional>

/// Calls `visit` with the path of each file below `folder` whose name has a dot, in the order of their names,
/// the content of a sub-folder in the sub-folder's place. Links to folders are not
/// followed. Only one folder is open at a time, however deep they lie. Ends early once `visit` gives false,
/// and in the middle of a folder once `isStopped` gives true.
void walkFolder(
    const QString &folder, const std::function<bool(const QString &)> &visit,
    const std::function<bool()> &isStopped = [] { return false; });
