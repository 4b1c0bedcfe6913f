#pragma once

#include "library/ThumbnailMaker.h"
#include "library/ThumbnailRequestQueue.h"
#include "shared/threads/Guarded.h"
#include "shared/threads/StoppableThread.h"

#include <QElapsedTimer>
#include <QList>

/// Finds the thumbnails of one load of a folder: in the database, or by way of the `ThumbnailMaker`.
///
/// The object is owned by a `Worker` and lives on the GUI thread; `run` is the only function of the worker.
/// One load, one object. It ends when all requests are served after `setEnumFinished`, or soon after `stop`.
class VistamoLoadThumbnailThread : public StoppableThread
{
    Q_OBJECT

public:
    /// @param generation  handed back with each answer
    /// @param maker must outlive the thread
    VistamoLoadThumbnailThread(Generation generation, ThumbnailMaker *maker, QObject *parent = nullptr);

    /// Adds a file to the end of the queue. Rows come in ascending order.
    void addRequest(const QFileInfo &info, int row);

    /// Takes what came too late to be served, from a thread that has ended.
    [[nodiscard]] QList<TThumbnailRequest> takeRequests();

    /// Tells what the user is looking at.
    /// @param ratio scroll position, value / maximum
    /// @param files in the list by now
    void setScrollPosition(float ratio, int files);

    /// No request will follow.
    void setEnumFinished();

    /// Gives up the load. Decodes in flight go on in the maker.
    void stop() override;

signals:
    /// Thumbnails that the database has. Those that have to be made come from the maker.
    void thumbnailsFound(const QList<ThumbnailAnswer> &answers);

    /// Part of the interface; nothing emits it.
    void processRequestThumbnailFinish();

protected:
    void run() override;

private:
    std::optional<TThumbnailRequest> nextRequest();
    void processRequestThumbnail(const TThumbnailRequest &request);
    void publish();

    const Generation generation;
    ThumbnailMaker *const maker;

    /// What the GUI thread asks for.
    struct Asked
    {
        ThumbnailRequestQueue requestList;
        float scrollPositionRatio = 0;
        int fileCount = 0;
        bool enumFinished = false;
    };
    Guarded<Asked> asked;

    QList<ThumbnailAnswer> found; ///< not published yet; the worker's own
    QElapsedTimer sincePublished;
};
