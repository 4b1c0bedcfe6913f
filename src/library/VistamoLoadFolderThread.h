#pragma once

#include "library/Generation.h"
#include "shared/threads/StoppableThread.h"
#include "shared/VistamoGlobal.h"

#include <QFileInfo>
#include <QList>
#include <QStringList>

#include <memory>

/// A batch of what the walk of a folder finds, in the order of the names.
struct FoundFiles
{
    Generation generation;
    QString path; ///< the folder
    int firstRow = 0;
    QList<TFileRecord> records;
    QList<QFileInfo> infos;     ///< of the same files, with what the walk has read of them
    bool complete = false;      ///< the walk has ended with these
    bool cutOff = false;        ///< where it could not go on: further files may be there
    bool isUnreadable = false;  ///< nothing can be said of the folder
    std::shared_ptr<void> turn; ///< back-pressure: while anybody holds it, the walk sends nothing further
};
Q_DECLARE_METATYPE(FoundFiles)

/// Files that a batch of the walk holds at least when `published` files stand in the list: a small batch at
/// once, so that the screen fills, then each half as large as what stands, so that the list is laid out only
/// a few times.
int batchSize(int published);

/// Walks one folder, without its subfolders, and reports the images in it.
///
/// The object is owned by a `Worker` and lives on the GUI thread; `run` and `loadFiles` are the worker's. One
/// load, one object.
class VistamoLoadFolderThread : public StoppableThread
{
    Q_OBJECT

public:
    /// @param generation       handed back with each batch
    /// @param selectedFileName file that is to be selected when it is found; may be empty
    VistamoLoadFolderThread(Generation generation, const QString &path, const QString &selectedFileName,
                            QObject *parent = nullptr);

signals:
    void filesFound(const FoundFiles &files);

    /// The file to be selected is in row and column `col`. Comes after its batch.
    void currentColumnChanged(int col);

    /// The end of the walk, also after a stop; `count` images were found.
    void enumFilesFinish(int count);

protected:
    void run() override;

private:
    void loadFiles(const QString &path);

    const Generation generation;
    const QString selectedFileName;
    QStringList pathList;
};
