#pragma once

#include "shared/threads/StoppableThread.h"
#include "shared/threads/WorkQueue.h"

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QString>

#include <functional>

/// A picture to be written.
struct TSaveImageRequest
{
    QPixmap pixmap;
    QString fileName;                  ///< the path; its suffix says the format
    QString source;                    ///< the file that it was made from, whose metadata go along
    std::function<QImage()> late = {}; ///< gives the picture where there is no pixmap yet
};

/// Writes exported pictures, in the order in which they were asked for.
///
/// The object is owned by its `Worker` and lives on the GUI thread; `run` is the worker's. It ends when
/// nothing is left to write; what is added while it ends stays in `takeWaiting` for the next. A picture that
/// cannot be encoded or written leaves what stood at its path as it was.
class VistamoSaveImageThread : public StoppableThread
{
    Q_OBJECT

public:
    explicit VistamoSaveImageThread(QObject *parent = nullptr);

    void addRequest(QPixmap pixmap, QString fileName, QString source = {});
    void addRequest(const TSaveImageRequest &request) { requestList.push(request); }

    /// Writes what is left on the calling thread. For a thread that does not run.
    void writeRequests();

    /// What was not written, oldest first.
    [[nodiscard]] QList<TSaveImageRequest> takeWaiting() { return requestList.takeAll(); }

    /// Nothing: what was asked for is written.
    void stop() override {}

protected:
    void run() override { writeRequests(); }

private:
    WorkQueue<TSaveImageRequest> requestList;
};
