#pragma once

#include "library/Generation.h"
#include "shared/threads/StoppableThread.h"
#include "shared/VistamoGlobal.h"

#include <QFileInfo>
#include <QList>
#include <QSemaphore>
#include <QSet>
#include <QStringList>

#include <memory>
#include <optional>

/// A file that stands in the list.
struct KnownFile
{
    QString fileName;
    qint64 size = 0; ///< bytes
    QDateTime modifiedTime;
};

/// A batch of what the walk of a folder finds, in the order of the names.
struct FoundFiles
{
    Generation generation;
    QString path; ///< the folder
    int firstRow = 0;
    QList<TFileRecord> records;
    QList<QFileInfo> infos;            ///< of the same files, with what the walk has read of them
    std::optional<QSet<QString>> gone; ///< only what differs was found, and these files have left
    bool isRest = false;               ///< of what differs, which came in pieces
    bool complete = false;             ///< the walk has ended with these
    bool cutOff = false;               ///< where it could not go on: further files may be there
    bool isUnreadable = false;         ///< nothing can be said of the folder
    std::shared_ptr<void> turn; ///< back-pressure: while anybody holds it, the walk sends nothing further
};
Q_DECLARE_METATYPE(FoundFiles)

/// Files that a batch of the walk holds at least when `published` files stand in the list: a small batch at
/// once, so that the screen fills, then each half as large as what stands, so that the list is laid out only
/// a few times.
int batchSize(int published);

/// Walks one folder, without its subfolders, and reports the images in it; or, given those that are known,
/// what differs, for which it looks again at no file that is the same.
///
/// The object is owned by a `Worker` and lives on the GUI thread; `run` and `loadFiles` are the worker's. One
/// load, one object.
class VistamoLoadFolderThread : public StoppableThread
{
    Q_OBJECT

public:
    /// @param generation       handed back with each batch
    /// @param selectedFileName file that is to be selected when it is found; may be empty
    /// @param known            what stands in the list; nothing to walk the folder anew
    VistamoLoadFolderThread(Generation generation, const QString &path, const QString &selectedFileName,
                            std::optional<QList<KnownFile>> known = std::nullopt, QObject *parent = nullptr);

signals:
    void filesFound(const FoundFiles &files);

    /// The file to be selected is in row and column `col`. Comes after its batch.
    void currentColumnChanged(int col);

    /// The end of the walk, also after a stop; `count` images were found. Not of a comparison that was
    /// stopped, or could not read the folder to its end.
    void enumFilesFinish(int count);

protected:
    void run() override;

private:
    void loadFiles(const QString &path);
    void compareFiles(const QString &path);
    void send(FoundFiles &batch);

    const Generation generation;
    const QString selectedFileName;
    const std::optional<QList<KnownFile>> known;
    QStringList pathList;
    const std::shared_ptr<QSemaphore> turn = std::make_shared<QSemaphore>(1); ///< to send a batch
};
