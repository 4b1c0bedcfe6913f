#pragma once

#include "fileops/FileRunner.h"
#include "shared/platform/PathIdentity.h"

#include <QMultiHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// Copies files to a folder, or moves them there. What cannot be transferred, because something stands in its
/// place or for any other reason, is offered for overwriting. In a move, a file whose place another one of
/// the same move has taken stays where it is, or one of the two would exist nowhere. GUI thread.
class FileTransfer
{
public:
    enum class Mode
    {
        Copy,
        Move
    };

    /// Whom a transfer asks and tells.
    struct Surroundings
    {
        /// The folder that the user picks; empty to leave it.
        std::function<QString()> pickFolder;

        /// Makes what runs the files of one transfer; it goes before anything is asked or told of them.
        std::function<std::unique_ptr<FileRunner>()> makeRunner;

        /// Files, at least one, have been transferred in a move, and removed from their old places.
        std::function<void(const QStringList &sources)> moved;

        /// Asks which of the targets to replace: `overwrite` with some of them, or `finish`.
        std::function<void(const QStringList &targets, const QStringList &sources)> offerToOverwrite;

        /// So many files, at least one, have been transferred to the folder.
        std::function<void(int count, const QString &folder)> tellSum;
    };

    explicit FileTransfer(Surroundings surroundings);

    /// Transfers files in this order to the folder that the user picks; nothing is asked for none. True if it
    /// came to an end: nothing is left to be asked, and no folder is missing any more.
    [[nodiscard]] bool transfer(Mode mode, const QStringList &sources);

    /// Transfers what was offered and chosen: target n replaces what stands there by source n.
    void overwrite(const QStringList &targets, const QStringList &sources);

    /// Tells the sum of the files transferred since `transfer`.
    void finish() const;

private:
    void tellMoved();
    [[nodiscard]] bool isTaken(const QString &source, const QString &target) const;
    [[nodiscard]] bool transferFile(FileRunner &runner, FileRunner::Place place, const QString &source,
                                    const QString &target, FileCopy::Existing existing);

    const Surroundings surroundings;
    Mode moveMode = Mode::Copy;
    QStringList fileExistsList; ///< targets that did not come about, with their sources
    QStringList fileSourceList;
    QStringList movedFiles;                          ///< that nobody has been told of yet
    QMultiHash<NativeCaselessPath, QString> written; ///< targets that have come about, or stand there
    QString copyTargetFolder;
    int copiedFileCount = 0;
};
