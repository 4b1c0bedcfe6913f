#pragma once

#include "shared/StoppableThread.h"
#include "shared/WorkQueue.h"

#include <QPixmap>
#include <QStringList>

#include <atomic>

/// Decodes pictures for the viewer, in the order in which they were asked for.
///
/// The object is owned by the form and lives on the GUI thread; `run` is the worker's. It ends when nothing
/// is waiting; what is added while it ends stays in `takeWaiting` for the next.
class VistamoLoadImageThread : public StoppableThread
{
    Q_OBJECT

public:
    explicit VistamoLoadImageThread(QObject *parent = nullptr);

    /// Asks for a picture. With ten waiting, the newest of them is passed over in its favour, so that a held
    /// arrow key does not pile up work.
    void addFile(const QString &path);

    /// The files that were not taken up, oldest first. For a thread that has ended.
    QStringList takeWaiting();

    /// True if the picture in hand has taken so long that its drive is taken for dead.
    bool hangs() const;

signals:
    /// The picture, null if it could not be read.
    void imageLoaded(QPixmap pixmap);

protected:
    void run() override;

private:
    WorkQueue<QString> fileNameList;
    std::atomic<qint64> inHandSince = 0; ///< milliseconds of the steady clock; 0 for nothing in hand
};
