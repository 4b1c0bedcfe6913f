#pragma once

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

/// Watches the folders of the list, and says when the one on show is to be read again: a storm of changes is
/// reported once, after a moment of quiet. GUI thread.
class FolderWatch : public QObject
{
    Q_OBJECT

public:
    explicit FolderWatch(QObject *parent = nullptr);

    /// Watches a folder, from now to the end of the program.
    void watch(const QString &path);

    /// Lets the next change pass unseen, since it is the program's own. It swallows one signal and is no
    /// pause.
    void skipNext() { skipDirModified = true; }
    void clearSkip() { skipDirModified = false; }

    /// A folder has changed: reported soon if it is the one last asked for, whatever the case.
    void directoryModified(const QString &path, const QString &askedFor);

    /// Reports a change of `path` after a moment of quiet.
    void reportSoon(const QString &path);

signals:
    /// At once, of any folder that is watched.
    void directoryChanged(const QString &path);

    /// The folder has changed, and is quiet or has been changing for long.
    void changed(const QString &path);

private:
    QFileSystemWatcher directoryWatcher;
    bool skipDirModified = false;
    QTimer changeTimer; ///< runs while the folder on show changes
    QElapsedTimer firstChange;
    QString changedPath;
};
