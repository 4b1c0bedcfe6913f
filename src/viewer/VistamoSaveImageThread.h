#pragma once

#include "shared/WorkQueue.h"

#include <QPixmap>
#include <QString>
#include <QThread>

#include <atomic>

/// A picture to be written.
struct TSaveImageRequest
{
    QPixmap pixmap;
    QString fileName; ///< the path; its suffix says the format
};

/// Writes exported pictures, in the order in which they were asked for.
///
/// The object is owned by the form and lives on the GUI thread; `run` is the worker's. It ends when nothing
/// is left to write; what is added while it ends waits for the next start. A picture that cannot be encoded
/// or written leaves what stood at its path as it was.
class VistamoSaveImageThread : public QThread
{
    Q_OBJECT

public:
    explicit VistamoSaveImageThread(QObject *parent = nullptr);

    void addRequest(QPixmap pixmap, QString fileName);

    /// Writes what is left on the calling thread. For a thread that does not run.
    void writeRequests();

    /// True if something is left to write.
    bool hasRequests() { return !requestList.isEmpty(); }

protected:
    void run() override { writeRequests(); }

private:
    WorkQueue<TSaveImageRequest> requestList;
    std::atomic_bool stopRequested = false; ///< set by nobody: what was asked for is written
};
