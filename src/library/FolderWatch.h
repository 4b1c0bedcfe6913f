#pragma once

#include "library/FolderProbe.h"

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

#include <future>

/// Watches the folders of the list, and reports, debounced, when the one on show is to be read again. GUI
/// thread.
class FolderWatch : public QObject
{
    Q_OBJECT

public:
    explicit FolderWatch(QObject *parent = nullptr);

    /// Watches a folder from now on. One that is not there is looked for, until another is to be watched, and
    /// reported when it has come. False if it was watched already, or is missing.
    bool watch(const QString &path);

    /// True for the folder that is looked for.
    [[nodiscard]] bool isMissing(const QString &path) const { return !path.isEmpty() && missing == path; }

    /// Ignores the next change, since it is the program's own: one signal, however long it takes to come.
    void skipNext() { skipDirModified = true; }
    void clearSkip() { skipDirModified = false; }

    /// A folder has changed: reported soon if it is the one last asked for, whatever the case.
    void directoryModified(const QString &path, const QString &askedFor);

    /// Reports a change of `path`, debounced.
    void reportSoon(const QString &path);

signals:
    /// At once, of any folder that is watched.
    void directoryChanged(const QString &path);

    /// The folder has changed, and is quiet or has been changing for long.
    void changed(const QString &path);

private:
    QFileSystemWatcher directoryWatcher;
    void lookForMissing();

    bool skipDirModified = false;
    QString missing;
    QTimer missingTimer;                           ///< runs while a folder is missing
    std::future<QHash<QString, FolderState>> look; ///< for it, in the background; not valid for none
    QTimer debounceTimer;                          ///< runs while the folder on show changes
    QElapsedTimer firstChange;
    QString changedPath;
};
