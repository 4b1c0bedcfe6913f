#pragma once

#include "library/ThumbnailMaker.h"
#include "library/VistamoLoadFolderThread.h"
#include "library/VistamoLoadThumbnailThread.h"
#include "shared/threads/Worker.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

/// Reads the folder on show: a walk for its files and, beside it, the thumbnails that are asked for. GUI
/// thread.
///
/// One load follows another only when both threads of the one before have ended; those that hang are left
/// behind after a second. Of several folders asked for meanwhile the last counts. It alone writes
/// `VistamoGlobal::vistamoLoadFolderThreadStat`.
class FolderLoad : public QObject
{
    Q_OBJECT

public:
    enum class State
    {
        Idle,
        Running,  ///< the walk is going on
        Painting, ///< the walk is over, thumbnails are still coming
        Stopping  ///< another load begins when this one has ended
    };

    explicit FolderLoad(QObject *parent = nullptr);
    ~FolderLoad() override;

    [[nodiscard]] State state() const;
    [[nodiscard]] bool isWalking() const { return loadFolderThread.isActive(); }
    [[nodiscard]] bool vistamoLoadThumbnailThreadStat() const { return loadThumbnailThread.isActive(); }

    /// The folder on show, and the one last asked for: none while the same is to be read again.
    [[nodiscard]] const QString &path() const { return currentPath; }
    [[nodiscard]] const QString &askedFor() const { return oldPath; }

    /// Makes `path` the folder on show; nothing if it is the one last asked for, letter for letter.
    void show(const QString &path);

    /// Reads the folder on show again. A walk of it is finished first: where files keep arriving it would
    /// never end otherwise.
    void reload();

    /// A folder has changed: what differs is found, unless another has been asked for since. One of which
    /// not all files are known is read again.
    void showChanged(const QString &path);

    /// Leaves the folder on show: there is none then.
    void leave();

    /// Removes a folder from the list by `removal` when no walk is going on: one that is is stopped, and the
    /// folder on show is read again if it stays.
    void stopThen(std::function<void()> removal);

    /// Starts the thread that finds thumbnails, unless it runs; gives up what is asked of it.
    void startThumbnails();
    void stopThumbnails();

    /// Asks for the thumbnail of a file of the present load; rows come in ascending order.
    void requestThumbnail(const QFileInfo &info, int row);

    /// Tells what the user is looking at: see `VistamoLoadThumbnailThread::setScrollPosition`.
    void setScrollPosition(float ratio, int files);

    /// Makes a thumbnail again whose picture was dropped; no more in flight than there are processors. Those
    /// of files that were being written are made again by themselves, every two seconds until they are
    /// complete.
    [[nodiscard]] bool mayMakeAgain() const { return madeAgain < thumbnailMaker->processorCount(); }
    void makeAgain(const TThumbnailRequest &request, ThumbnailStoring storing);

    /// Leaves threads behind that were told to end and hang. Called by itself after a second.
    void onRefreshTimer();

    /// At the end of the program: tells the threads to end; waits for them and for what is being made.
    void stop();
    void end(QDeadlineTimer deadline);

signals:
    /// `path` has become the folder on show; its load is yet to begin.
    void shown(const QString &path);

    void began(Generation generation, const QString &path);

    // Of the walk.
    void filesFound(const FoundFiles &files);
    void enumFilesFinish(int count);
    void currentColumnChanged(int col);
    void walkEnded(); ///< also of one that was left behind

    void thumbnailsFound(const QList<ThumbnailAnswer> &answers);
    void thumbnailMade(const ThumbnailAnswer &answer);
    void thumbnailsEnded();

private:
    void showAgain(const QString &path);
    void startThreads();
    void onThumbnailsEnded(VistamoLoadThumbnailThread &ended);
    void startWalk(std::optional<QList<KnownFile>> known = std::nullopt);
    void compare();
    void onFilesFound(const FoundFiles &files);
    void waitForStoppedThreads();
    void walkHasEnded();
    void onThumbnailMade(const ThumbnailAnswer &answer);
    void makeCompleteAgain();
    void forgetChanging();
    void goOn();

    Generation currentGeneration;
    QString oldPath;
    QString currentPath;
    std::function<void()> pendingFolderRemoval; ///< as soon as the walk has ended
    bool reloadWanted = false;                  ///< as soon as both threads have ended
    bool againAfterWalk = false;
    bool compareAfterWalk = false;
    bool allAreKnown = false;          ///< the folder on show was read to its end
    QTimer refreshTimer;               ///< runs while the threads are ending
    int requested = 0;                 ///< of the thread that finds thumbnails
    int madeAgain = 0;                 ///< in flight
    QList<TThumbnailRequest> changing; ///< files of the folder on show that were being written
    QList<TThumbnailRequest> complete; ///< those that may be complete by now
    QTimer changingTimer;              ///< runs while there are changing ones
    std::unique_ptr<ThumbnailMaker> thumbnailMaker;
    Worker<VistamoLoadThumbnailThread> loadThumbnailThread; ///< uses the maker
    Worker<VistamoLoadFolderThread> loadFolderThread;
};
