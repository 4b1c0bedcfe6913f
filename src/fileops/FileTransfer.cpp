#include "fileops/FileTransfer.h"

#include <QFileInfo>
#include <QtDebug>

#include <algorithm>
#include <utility>

FileTransfer::FileTransfer(Surroundings surroundings)
    : surroundings(std::move(surroundings))
{
}

bool FileTransfer::transfer(Mode mode, const QStringList &sources)
{
    moveMode = mode;
    fileExistsList.clear();
    fileSourceList.clear();
    written.clear();
    const QString folder = sources.isEmpty() ? QString() : surroundings.pickFolder();
    if (folder.isEmpty())
        return true;
    copyTargetFolder = folder;
    copiedFileCount = 0;

    std::unique_ptr<FileRunner> runner = surroundings.makeRunner();
    const auto targetOf = [&folder](const QString &source) {
        return folder + QLatin1Char('/') + QFileInfo(source).fileName();
    };
    for (const QString &source : sources) {
        if (const QString target = targetOf(source); isOneFile(source, target))
            written.insert(NativeCaselessPath(target), target);
    }
    FileRunner::Place place = {0, sources.size()};
    for (const QString &source : sources) {
        ++place.number;
        const QString target = targetOf(source);
        if (isTaken(source, target))
            continue;
        if (!transferFile(*runner, place, source, target, FileCopy::Existing::Keep)
            && !runner->isCancelled()) {
            fileExistsList.append(target);
            fileSourceList.append(source);
        }
        if (runner->isCancelled())
            break;
    }
    const bool cancelled = runner->isCancelled();
    runner.reset(); // with its dialog
    tellMoved();
    if (!fileExistsList.isEmpty() && !cancelled) {
        surroundings.offerToOverwrite(fileExistsList, fileSourceList);
        return false;
    }
    finish();
    return true;
}

void FileTransfer::overwrite(const QStringList &targets, const QStringList &sources)
{
    std::unique_ptr<FileRunner> runner = surroundings.makeRunner();
    for (qsizetype i = 0; i < targets.size() && !runner->isCancelled(); ++i) {
        qDebug() << "fileExistsList: " << targets[i];
        qDebug() << "fileSourceList: " << sources.value(i);
        // What cannot be transferred stays as it was.
        if (!isTaken(sources.value(i), targets[i]))
            static_cast<void>(transferFile(*runner, {i + 1, targets.size()}, sources.value(i), targets[i],
                                           FileCopy::Existing::Replace));
    }
    runner.reset();
    tellMoved();
    finish();
}

void FileTransfer::finish() const
{
    if (copiedFileCount > 0)
        surroundings.tellSum(copiedFileCount, copyTargetFolder);
}

/// All at once: a list of files costs the same however many leave it.
void FileTransfer::tellMoved()
{
    if (const QStringList files = std::exchange(movedFiles, {}); !files.isEmpty())
        surroundings.moved(files);
}

/// True if another file of this move stands at the target.
bool FileTransfer::isTaken(const QString &source, const QString &target) const
{
    const QStringList others = written.values(NativeCaselessPath(target));
    return moveMode == Mode::Move && !isOneFile(source, target)
           && std::any_of(others.begin(), others.end(),
                          [&](const QString &other) { return isOneFile(target, other); });
}

/// Copies one file, or moves it. False if that failed.
bool FileTransfer::transferFile(FileRunner &runner, FileRunner::Place place, const QString &source,
                                const QString &target, FileCopy::Existing existing)
{
    auto moved = FileCopy::Moved::Copied;
    const auto work = [&](FileCopy::Progress &progress) {
        if (moveMode == Mode::Copy)
            return FileCopy::copy(source, target, existing, progress);
        moved = FileCopy::move(source, target, existing, progress);
        return moved != FileCopy::Moved::No;
    };
    if (!runner.run(source, place, work))
        return false;
    ++copiedFileCount;
    written.insert(NativeCaselessPath(target), target);
    // A source that stays is one file too many, never one too few.
    if (moved == FileCopy::Moved::Yes)
        movedFiles.append(source);
    return true;
}
