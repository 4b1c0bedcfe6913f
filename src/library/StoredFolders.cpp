#include "library/StoredFolders.h"

#include "shared/Settings.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int mostFolders = 20;
constexpr int writeAfterMs = 1000;

QStringList storedIn(const QSettings &store)
{
    // Last first: each was once put at the top when the list was restored.
    QStringList paths;
    for (int index = std::min(BrowserSettings::folderListCount.read(store), mostFolders) - 1; index >= 0;
         --index)
        paths.append(BrowserSettings::folderList(index).read(store));
    return paths;
}

} // namespace

StoredFolders::StoredFolders(std::function<QStringList()> present)
    : present(std::move(present))
{
    timer.setSingleShot(true);
    timer.setInterval(writeAfterMs);
    connect(&timer, &QTimer::timeout, this, &StoredFolders::write);
}

QStringList StoredFolders::read()
{
    known = storedIn(programSettings());
    return known;
}

void StoredFolders::write()
{
    timer.stop();
    QSettings store = programSettings();
    const QStringList own = present();
    // Settings that have been reset are no other program's.
    const bool isReset = !store.contains(BrowserSettings::folderListCount.key);
    const QStringList merged = mergedFolders(own, known, isReset ? known : storedIn(store));
    const int count = static_cast<int>(std::min<qsizetype>(merged.size(), mostFolders));
    BrowserSettings::folderListCount.write(store, count);
    for (int index = 0; index < count; ++index)
        BrowserSettings::folderList(index).write(store, merged[count - 1 - index]);
    known = own;
    for (const QString &path : merged.mid(count))
        known.removeOne(path); // still to be added, once there is room
}

QStringList mergedFolders(const QStringList &own, const QStringList &known, const QStringList &stored)
{
    QStringList merged;
    for (const QString &path : own) {
        if (stored.contains(path) || !known.contains(path))
            merged.append(path);
    }
    for (const QString &path : stored) {
        if (!own.contains(path) && !known.contains(path))
            merged.append(path);
    }
    return merged;
}
