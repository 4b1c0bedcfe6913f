#include "library/FolderWatch.h"

#include "shared/platform/PathIdentity.h"

#include <algorithm>
#include <utility>

namespace {

// Debounce: a storm of changes costs one reload after this much quiet, or this long after it began.
constexpr int debounceMs = 200;
constexpr int longestDebounceMs = 2000;

} // namespace

FolderWatch::FolderWatch(QObject *parent)
    : QObject(parent)
{
    connect(&directoryWatcher, &QFileSystemWatcher::directoryChanged, this, &FolderWatch::directoryChanged);
    debounceTimer.setSingleShot(true);
    connect(&debounceTimer, &QTimer::timeout, this, [this] { emit changed(changedPath); });
}

void FolderWatch::watch(const QString &path)
{
    if (!directoryWatcher.directories().contains(path))
        directoryWatcher.addPath(path);
}

void FolderWatch::directoryModified(const QString &path, const QString &askedFor)
{
    if (std::exchange(skipDirModified, false))
        return;
    if (CaselessPath(askedFor) == CaselessPath(path))
        reportSoon(path);
}

void FolderWatch::reportSoon(const QString &path)
{
    if (!debounceTimer.isActive())
        firstChange.start();
    const qint64 left = longestDebounceMs - firstChange.elapsed();
    debounceTimer.start(static_cast<int>(std::clamp<qint64>(left, 0, debounceMs)));
    changedPath = path;
}
