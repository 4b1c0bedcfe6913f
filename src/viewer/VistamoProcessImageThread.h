#pragma once

#include "shared/threads/StoppableThread.h"
#include "shared/threads/WorkQueue.h"

#include <QImage>
#include <QPixmap>

#include <atomic>

/// A view of a picture through the filters of the adjustments dialog.
struct TProcessImageRequest
{
    QPixmap pixmap;             ///< the picture in full
    int transformationMode = 0; ///< 1 for smooth scaling, 0 for fast
    int width = 0;              ///< of the view, pixels of the screen
    int contrast = 0;
    int brightness = 0;
    int gamma = 0;
    int invertColours = 0;
};

/// Filters the view while the adjustments dialog is open, the newest request alone, and sleeps in between.
///
/// The object is owned by its `Worker` and lives on the GUI thread; `run` is the worker's.
class VistamoProcessImageThread : public StoppableThread
{
    Q_OBJECT

public:
    explicit VistamoProcessImageThread(QObject *parent = nullptr);

    void addRequest(const TProcessImageRequest &request);

    /// Tells the thread to end as soon as nothing is left to do.
    void setFinishRequested();
    void stop() override;

signals:
    /// The view; null if it has no width. A view of more pixels than the picture, or than are worth keeping,
    /// comes smaller, with a device pixel ratio that makes up for it.
    void resultAvailable(QImage image);

protected:
    void run() override;

private:
    WorkQueue<TProcessImageRequest> requestList;
    std::atomic_bool finishRequested = false;
};
