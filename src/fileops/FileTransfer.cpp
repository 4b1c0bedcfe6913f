#include "fileops/FileTransfer.h"

#include <QFileInfo>
#include <QtDebug>

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
    const QString folder = surroundings.pickFolder();
    if (folder.isEmpty())
        return true;
    copyTargetFolder = folder;
    copiedFileCount = 0;

    const std::unique_ptr<FileRunner> runner = surroundings.makeRunner();
    for (const QString &source : sources) {
        const QString target = folder + QLatin1Char('/') + QFileInfo(source).fileName();
        if (!transferFile(*runner, source, target, FileCopy::Existing::Keep) && !runner->isCancelled()) {
            fileExistsList.append(target);
            fileSourceList.append(source);
        }
        if (runner->isCancelled())
            break;
    }
    if (!fileExistsList.isEmpty() && !runner->isCancelled()) {
        surroundings.offerToOverwrite(fileExistsList, fileSourceList);
        return false;
    }
    finish();
    return true;
}

void FileTransfer::overwrite(const QStringList &targets, const QStringList &sources)
{
    const std::unique_ptr<FileRunner> runner = surroundings.makeRunner();
    for (qsizetype i = 0; i < targets.size() && !runner->isCancelled(); ++i) {
        qDebug() << "fileExistsList: " << targets[i];
        qDebug() << "fileSourceList: " << sources.value(i);
        // What cannot be transferred stays as it was.
        static_cast<void>(transferFile(*runner, sources.value(i), targets[i], FileCopy::Existing::Replace));
    }
    finish();
}

void FileTransfer::finish() const
{
    surroundings.tellSum(copiedFileCount, copyTargetFolder);
}

/// Copies one file, or moves it. False if that failed.
bool FileTransfer::transferFile(FileRunner &runner, const QString &source, const QString &target,
                                FileCopy::Existing existing)
{
    const auto copy = [&](FileCopy::Progress &progress) {
        return FileCopy::copy(source, target, existing, progress);
    };
    if (!runner.run(source, copy))
        return false;
    ++copiedFileCount;
    if (moveMode == Mode::Move && !runner.isCancelled()) {
        surroundings.moved(source);
        // A source that stays is one file too many, never one too few.
        static_cast<void>(
            runner.run(source, [&](FileCopy::Progress &) { return FileCopy::removeCopied(source, target); }));
    }
    return true;
}
