#include "library/VistamoLoadFolderThread.h"

#include "shared/platform/FolderEntries.h"
#include "shared/platform/PathIdentity.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QStringBuilder>
#include <QtDebug>

#include <algorithm>
#include <utility>

namespace {

// On a slow disk a batch goes out after this time, however small it is.
constexpr int longestSilenceMs = 300;
constexpr int lookForStopMs = 10;
// What the GUI thread takes in without a noticeable pause.
constexpr int smoothBatch = 8192;
// Files that are sorted before all others.
constexpr qsizetype firstScreen = 256;

/// `text`, or what is the same and kept already.
QString shared(const QString &text, const QString &kept)
{
    return text == kept ? kept : text;
}

/// Adds a file to what was found, unless it is hidden, which a name does not tell everywhere. Gives that.
bool add(const FolderEntry &file, FoundFiles &found)
{
    const QString fullPath = found.path % u'/' % file.name; // at once: what is appended has room for more
    const QFileInfo info(fullPath);
    if (info.isHidden())
        return false;
    TFileRecord record;
    record.fileName = info.fileName();
    record.path = shared(info.path(), found.path);
    record.fullPath = fullPath;
    record.size = info.size();
    record.accessTime = info.fileTime(QFile::FileAccessTime);
    record.creationTime = info.fileTime(QFile::FileBirthTime);
    record.modifiedTime = info.fileTime(QFile::FileModificationTime);
    record.suffix = shared(info.suffix(), found.records.isEmpty() ? QString() : found.records.last().suffix);
    found.records.append(record);
    found.infos.append(info);
    return true;
}

FileStamp stampOf(const KnownFile &file)
{
    return {file.size, file.modifiedTime.toMSecsSinceEpoch()};
}

bool isImage(const FolderEntry &file)
{
    return !file.isFolder && VistamoGlobal().isImageFile(file.name);
}

/// Puts files in their order from `first` on: the first of all for the first screen, then the rest. Gives up
/// to where they are in order.
qsizetype sortFrom(QList<FolderEntry> &files, qsizetype first)
{
    if (first > 0) {
        std::sort(files.begin() + first, files.end(), comesBefore);
        return files.size();
    }
    const qsizetype screen = std::min(firstScreen, files.size());
    std::partial_sort(files.begin(), files.begin() + screen, files.end(), comesBefore);
    return screen;
}

} // namespace

int batchSize(int published)
{
    return std::clamp(published / 2, 64, std::max(smoothBatch, published / 8));
}

VistamoLoadFolderThread::VistamoLoadFolderThread(Generation generation, const QString &path,
                                                 const QString &selectedFileName,
                                                 std::optional<QList<KnownFile>> known, QObject *parent)
    : StoppableThread(parent)
    , generation(generation)
    , selectedFileName(selectedFileName)
    , known(std::move(known))
    , pathList(path)
{
    setObjectName(QStringLiteral("LoadFolder"));
}

void VistamoLoadFolderThread::run()
{
    qDebug() << "VistamoLoadFolderThread::run()";
    setPriority(QThread::HighPriority);
    const QString path = pathList.takeLast();
    if (known)
        compareFiles(path);
    else
        loadFiles(path);
}

void VistamoLoadFolderThread::loadFiles(const QString &path)
{
    qDebug() << "VistamoLoadFolderThread::loadFiles Begin: " << path;
    if (stopRequested)
        return;

    int row = 0;
    QList<int> columnsToSelect;
    FoundFiles batch;
    batch.generation = generation;
    batch.path = path;
    QElapsedTimer sincePublished;
    sincePublished.start();
    const auto publish = [&] {
        send(batch);
        batch.records.clear();
        batch.infos.clear();
        batch.firstRow = row;
        for (const int column : std::exchange(columnsToSelect, {}))
            emit currentColumnChanged(column);
        sincePublished.restart();
    };

    // The folder is read whole before anything is shown: what is on the screen first is final.
    auto [files, cutOff, isUnreadable] = folderEntries(path, [this] { return isStopping(); });
    qsizetype sorted = 0;
    for (qsizetype i = 0; i < files.size() && !stopRequested; ++i) {
        if (i == sorted)
            sorted = sortFrom(files, i);
        if (batch.records.size() >= batchSize(batch.firstRow)
            || (!batch.records.isEmpty() && sincePublished.hasExpired(longestSilenceMs)))
            publish();
        if (!isImage(files[i]) || !add(files[i], batch))
            continue;
        if (!selectedFileName.isEmpty() && CaselessPath(selectedFileName) == CaselessPath(files[i].name))
            columnsToSelect.append(row);
        ++row;
    }
    batch.complete = !stopRequested;
    batch.cutOff = cutOff;
    batch.isUnreadable = isUnreadable;
    publish();
    emit enumFilesFinish(row);
    qDebug() << "VistamoLoadFolderThread::loadFiles End";
}

/// Back-pressure: one batch is in flight, and between two the window answers the user.
void VistamoLoadFolderThread::send(FoundFiles &batch)
{
    while (!turn->tryAcquire(1, lookForStopMs) && !stopRequested) {
    }
    batch.turn = std::shared_ptr<void>(nullptr, [turn = turn](void *) { turn->release(); });
    emit filesFound(batch);
    batch.turn.reset();
}

void VistamoLoadFolderThread::compareFiles(const QString &path)
{
    FoundFiles changed;
    changed.generation = generation;
    changed.path = path;
    changed.complete = true;
    auto [files, cutOff, isUnreadable] = folderEntries(
        path, [this] { return isStopping(); },
        [](const QString &name) { return VistamoGlobal().isImageFile(name); });
    changed.cutOff = cutOff;
    changed.isUnreadable = isUnreadable;

    QHash<QString, const KnownFile *> gone; // what was not met so far
    gone.reserve(known->size());
    for (const KnownFile &file : *known)
        gone.insert(file.fileName, &file);
    files.removeIf([&](const FolderEntry &file) {
        const auto before = gone.constFind(file.name);
        const bool isSame = before != gone.cend() && file.stamp == stampOf(**before);
        if (isSame)
            gone.erase(before);
        return isSame || !isImage(file);
    });
    const qsizetype same = known->size() - gone.size();
    std::sort(files.begin(), files.end(), comesBefore);
    for (const FolderEntry &file : std::as_const(files)) {
        if (!stopRequested && add(file, changed))
            gone.remove(file.name);
    }
    const QStringList names = gone.keys();
    const qsizetype most = std::max(names.size(), changed.records.size());
    FoundFiles batch = changed;
    batch.complete = false;
    for (qsizetype first = 0; !stopRequested && !batch.complete; first += smoothBatch) {
        const QStringList part = names.mid(first, smoothBatch);
        batch.gone = QSet<QString>(part.begin(), part.end());
        batch.records = changed.records.mid(first, smoothBatch);
        batch.infos = changed.infos.mid(first, smoothBatch);
        batch.isRest = first > 0;
        batch.complete = first + smoothBatch >= most;
        send(batch);
    }
    if (!isUnreadable && !stopRequested)
        emit enumFilesFinish(static_cast<int>(same + changed.records.size()));
}
