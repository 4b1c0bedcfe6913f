#include "batch/FolderWalk.h"

#include "shared/platform/FolderEntries.h"

#include <algorithm>
#include <utility>

namespace {

struct Pending
{
    QString path;
    bool isFolder;
};

/// What has a dot in its name, and all folders: the last first.
QList<Pending> entriesInReverse(const QString &folder, const std::function<bool()> &isStopped)
{
    QList<FolderEntry> entries = folderEntries(folder, isStopped).entries;
    std::sort(entries.rbegin(), entries.rend(), comesBefore);
    QList<Pending> pending;
    for (const FolderEntry &entry : std::as_const(entries)) {
        if (entry.isFolder ? !entry.isLink : entry.name.contains(QLatin1Char('.')))
            pending.append({folder + QLatin1Char('/') + entry.name, entry.isFolder});
    }
    return pending;
}

} // namespace

void walkFolder(const QString &folder, const std::function<bool(const QString &)> &visit,
                const std::function<bool()> &isStopped)
{
    QList<Pending> pending = entriesInReverse(folder, isStopped);
    while (!pending.isEmpty()) {
        const Pending entry = pending.takeLast();
        if (entry.isFolder)
            pending.append(entriesInReverse(entry.path, isStopped));
        else if (!visit(entry.path))
            return;
    }
}
