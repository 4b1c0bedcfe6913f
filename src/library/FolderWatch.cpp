#include "library/FolderWatch.h"

#include "shared/platform/PathIdentity.h"
#include "shared/threads/Background.h"

#include <algorithm>
#include <utility>

namespace {

// Debounce: a storm of changes costs one reload after this much quiet, or this long after it began.
constexpr int debounceMs = 200;
constexpr int longestDebounceMs = 1000;
constexpr int lookForMissingMs = 1000;
// Of a drive that hangs there is no answer; it is not asked again.
constexpr int longestLookMs = 500;

} // namespace

FolderWatch::FolderWatch(QObject *parent)
    : QObject(parent)
{
    connect(&directoryWatcher, &QFileSystemWatcher::directoryChanged, this, &FolderWatch::directoryChanged);
    missingTimer.setInterval(lookForMissingMs);
    connect(&missingTimer, &QTimer::timeout, this, &FolderWatch::lookForMissing);
    debounceTimer.setSingleShot(true);
    connect(&debounceTimer, &QTimer::timeout, this, [this] { emit changed(changedPath); });
}

bool FolderWatch::watch(const QString &path)
{
    missingTimer.stop();
    missing.clear();
    look = {};
    if (directoryWatcher.directories().contains(path))
        return false;
    if (directoryWatcher.addPath(path))
        return true;
    missing = path;
    missingTimer.start();
    return false;
}

void FolderWatch::lookForMissing()
{
    if (!look.valid()) {
        look = Background::result([path = missing] { return probeFolders({path}, longestLookMs); });
        return;
    }
    if (look.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return;
    const QHash<QString, FolderState> states = look.get();
    if (!states.contains(missing))
        missingTimer.stop();
    else if (const QString path = missing; states.value(path) == FolderState::There && watch(path))
        reportSoon(path);
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
