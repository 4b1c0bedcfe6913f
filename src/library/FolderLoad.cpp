#include "library/FolderLoad.h"

#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/threads/Background.h"

#include <QtDebug>

#include <utility>

namespace {

// Threads that are told to stop end at once; one that is held up by a dead network drive is left behind.
constexpr int longestEndMs = 1000;
// As long as a file that is being written has to be quiet.
constexpr int changingMs = 2000;
// What they take in memory is worth giving back: a megabyte or more.
constexpr int manyRequests = 2000;

} // namespace

FolderLoad::FolderLoad(QObject *parent)
    : QObject(parent)
    , thumbnailMaker(std::make_unique<ThumbnailMaker>())
{
    refreshTimer.setSingleShot(true);
    refreshTimer.setInterval(longestEndMs);
    connect(&refreshTimer, &QTimer::timeout, this, &FolderLoad::onRefreshTimer);
    changingTimer.setSingleShot(true);
    changingTimer.setInterval(changingMs);
    connect(&changingTimer, &QTimer::timeout, this, [this] {
        complete += std::exchange(changing, {});
        makeCompleteAgain();
    });
    connect(thumbnailMaker.get(), &ThumbnailMaker::made, this, &FolderLoad::onThumbnailMade);
}

FolderLoad::~FolderLoad()
{
    stop();
    end(QDeadlineTimer(longestEndMs)); // the maker goes, which a thread may still use
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
}

FolderLoad::State FolderLoad::state() const
{
    if (!isWalking() && !vistamoLoadThumbnailThreadStat())
        return State::Idle;
    if (reloadWanted)
        return State::Stopping;
    return isWalking() ? State::Running : State::Painting;
}

void FolderLoad::show(const QString &path)
{
    qDebug() << "loadFolder: " << path;
    qDebug() << "oldPath: " << oldPath;
    if (ExactPath(oldPath) == ExactPath(path))
        return;

    if (ExactPath(currentPath) != ExactPath(path))
        forgetChanging();
    oldPath = currentPath = path;
    emit shown(path);
    qDebug() << "VistamoGlobal::vistamoLoadFolderThreadStat: " << VistamoGlobal::vistamoLoadFolderThreadStat;
    qDebug() << "vistamoLoadThumbnailThreadStat: " << vistamoLoadThumbnailThreadStat();
    if (state() == State::Idle) {
        startThreads();
        return;
    }
    reloadWanted = true;
    loadFolderThread.stop();
    stopThumbnails();
}

void FolderLoad::reload()
{
    showAgain(currentPath);
}

/// Makes `path` the folder on show even if it is the one last asked for.
void FolderLoad::showAgain(const QString &path)
{
    const bool walksIt = isWalking() && !reloadWanted && !pendingFolderRemoval;
    if (walksIt && ExactPath(path) == ExactPath(currentPath)) {
        againAfterWalk = true;
        return;
    }
    oldPath.clear();
    show(path);
}

void FolderLoad::showChanged(const QString &path)
{
    if (CaselessPath(oldPath) != CaselessPath(path))
        return;
    if (ExactPath(currentPath) == ExactPath(path) && !reloadWanted && (allAreKnown || isWalking()))
        compare();
    else
        showAgain(path);
}

/// Finds what differs from the list, after a walk that is going on. The load goes on as it is.
void FolderLoad::compare()
{
    compareAfterWalk = isWalking();
    if (compareAfterWalk)
        return;
    QList<KnownFile> known;
    known.reserve(VistamoGlobal::fileDataList.size());
    for (const TFileRecord &file : std::as_const(VistamoGlobal::fileDataList))
        known.append({file.fileName, file.size, file.modifiedTime});
    startWalk(std::move(known));
}

void FolderLoad::leave()
{
    stopThumbnails();
    reloadWanted = againAfterWalk = compareAfterWalk = allAreKnown = false;
    forgetChanging();
    oldPath.clear();
    currentPath.clear();
}

void FolderLoad::stopThen(std::function<void()> removal)
{
    if (!isWalking()) {
        removal();
        return;
    }
    pendingFolderRemoval = std::move(removal);
    loadFolderThread.stop();
    waitForStoppedThreads();
}

void FolderLoad::startThreads()
{
    reloadWanted = againAfterWalk = compareAfterWalk = allAreKnown = false;
    currentGeneration = currentGeneration.next();
    emit began(currentGeneration, currentPath);
    startThumbnails();
    startWalk();
}

void FolderLoad::startWalk(std::optional<QList<KnownFile>> known)
{
    const bool compares = known.has_value();
    VistamoGlobal::vistamoLoadFolderThreadStat = true;
    using Thread = VistamoLoadFolderThread;
    loadFolderThread.set(std::make_unique<Thread>(currentGeneration, currentPath,
                                                  VistamoGlobal::selectedFileName, std::move(known)));
    loadFolderThread.on(&Thread::filesFound, [this](const FoundFiles &files) { onFilesFound(files); });
    loadFolderThread.on(&Thread::currentColumnChanged, [this](int col) { emit currentColumnChanged(col); });
    loadFolderThread.on(&Thread::enumFilesFinish, [this, compares](int count) {
        if (compares && loadFolderThread.isStopping())
            return;
        emit enumFilesFinish(count);
        if (loadThumbnailThread.isActive())
            loadThumbnailThread->setEnumFinished();
    });
    loadFolderThread.start(QThread::InheritPriority, [this](Thread &) {
        walkHasEnded();
        goOn();
    });
}

/// A comparison that could not be made is followed by a walk, which tells files that are gone from those
/// that cannot be seen.
void FolderLoad::onFilesFound(const FoundFiles &files)
{
    if (files.gone && loadFolderThread.isStopping()) // another folder is to be shown, or this one anew
        return;
    if (files.gone && files.isUnreadable) {
        againAfterWalk = true;
        return;
    }
    allAreKnown = files.complete && !files.isUnreadable;
    if (files.gone && !files.records.isEmpty())
        startThumbnails();
    emit filesFound(files);
}

void FolderLoad::startThumbnails()
{
    if (loadThumbnailThread.isActive())
        return;
    using Thread = VistamoLoadThumbnailThread;
    requested = 0;
    loadThumbnailThread.set(std::make_unique<Thread>(currentGeneration, thumbnailMaker.get()));
    loadThumbnailThread.on(&Thread::thumbnailsFound,
                           [this](const QList<ThumbnailAnswer> &found) { emit thumbnailsFound(found); });
    loadThumbnailThread.start(QThread::InheritPriority, [this](Thread &ended) { onThumbnailsEnded(ended); });
}

/// What was asked of a thread that had just served its last is asked of another.
void FolderLoad::onThumbnailsEnded(VistamoLoadThumbnailThread &ended)
{
    emit thumbnailsEnded();
    const QList<TThumbnailRequest> late =
        ended.isStopping() ? QList<TThumbnailRequest>() : ended.takeRequests();
    if (!late.isEmpty() && !reloadWanted) {
        startThumbnails();
        for (const TThumbnailRequest &request : late)
            requestThumbnail(request.info, request.row);
        loadThumbnailThread->setEnumFinished();
    } else if (requested >= manyRequests) {
        Background::run(Platform::returnFreedMemory); // of the requests for all files
    }
    goOn();
}

void FolderLoad::stopThumbnails()
{
    loadThumbnailThread.stop();
    waitForStoppedThreads();
}

void FolderLoad::requestThumbnail(const QFileInfo &info, int row)
{
    if (!loadThumbnailThread.isActive())
        return;
    ++requested;
    loadThumbnailThread->addRequest(info, row);
}

void FolderLoad::setScrollPosition(float ratio, int files)
{
    if (loadThumbnailThread.isActive())
        loadThumbnailThread->setScrollPosition(ratio, files);
}

void FolderLoad::makeAgain(const TThumbnailRequest &request, ThumbnailStoring storing)
{
    ++madeAgain;
    thumbnailMaker->makeAgain(currentGeneration, request, storing);
}

void FolderLoad::onThumbnailMade(const ThumbnailAnswer &answer)
{
    madeAgain -= answer.again;
    if (answer.changing && answer.generation == currentGeneration) {
        const auto isThisFile = [&](const TThumbnailRequest &request) {
            return request.info.filePath() == answer.key.fullPath;
        };
        changing.removeIf(isThisFile);
        complete.removeIf(isThisFile);
        changing.append({QFileInfo(answer.key.fullPath), answer.row});
        if (!changingTimer.isActive())
            changingTimer.start();
    }
    emit thumbnailMade(answer);
    makeCompleteAgain();
}

/// A few at a time: in a folder that is being filled there may be many.
void FolderLoad::makeCompleteAgain()
{
    while (!complete.isEmpty() && mayMakeAgain())
        makeAgain(complete.takeFirst(), ThumbnailStoring::Add);
}

void FolderLoad::forgetChanging()
{
    changing.clear();
    complete.clear();
}

/// Gives threads that were told to stop a second to end.
void FolderLoad::waitForStoppedThreads()
{
    refreshTimer.start();
}

void FolderLoad::onRefreshTimer()
{
    if (loadThumbnailThread.isStopping())
        loadThumbnailThread.leaveBehind();
    if (loadFolderThread.isStopping()) {
        loadFolderThread.leaveBehind();
        walkHasEnded();
    }
    goOn();
}

void FolderLoad::walkHasEnded()
{
    VistamoGlobal::vistamoLoadFolderThreadStat = false;
    emit walkEnded();
    if (const auto removal = std::exchange(pendingFolderRemoval, nullptr)) {
        oldPath.clear(); // the walk was cut short
        removal();
    } else if (std::exchange(againAfterWalk, false) && !reloadWanted) {
        showAgain(currentPath);
    } else if (std::exchange(compareAfterWalk, false) && !reloadWanted) {
        showChanged(currentPath);
    }
}

/// The second half of a load that had to stop another: of several folders asked for meanwhile the last
/// counts.
void FolderLoad::goOn()
{
    if (loadFolderThread.isActive() || loadThumbnailThread.isActive() || !reloadWanted)
        return;
    startThreads();
}

void FolderLoad::stop()
{
    loadFolderThread.stop();
    loadThumbnailThread.stop();
}

void FolderLoad::end(QDeadlineTimer deadline)
{
    loadFolderThread.end(deadline);
    loadThumbnailThread.end(deadline);
    if (!thumbnailMaker)
        return;
    // A thread that hangs may come back to the maker.
    StoppableThread::someLeftBehind |= !thumbnailMaker->finish(static_cast<int>(deadline.remainingTime()));
    if (StoppableThread::someLeftBehind)
        static_cast<void>(thumbnailMaker.release());
}
