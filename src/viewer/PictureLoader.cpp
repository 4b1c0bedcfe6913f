#include "viewer/PictureLoader.h"

void PictureLoader::close()
{
    viewerClosed = true;
    prefetch.want({}, {});
}

void PictureLoader::show(const ImageRequest &file)
{
    prefetch.pause();
    if (loadImageThreadRunning() && loadImageThread->hangs())
        replaceHangingLoader();
    asked = prefetch.request(file);
    asked.shared = std::make_shared<DecodedOnce>();
    if (loadImageThreadRunning())
        loadImageThread->addFile(asked);
    else
        start({asked});
}

/// Leaves a loader behind whose drive does not answer, and goes on with what waits behind that picture.
void PictureLoader::replaceHangingLoader()
{
    QList<ImageRequest> waiting = loadImageThread->takeWaiting();
    for (ImageRequest &request : waiting)
        request = {request.path}; // what is shared may be what hangs
    loadImageThread.leaveBehind();
    start(waiting);
}

void PictureLoader::start(const QList<ImageRequest> &requests)
{
    using Thread = VistamoLoadImageThread;
    loadImageThread.set(std::make_unique<Thread>());
    loadImageThread.on(&Thread::imageLoaded, [this](const QPixmap &pixmap) { emit imageLoaded(pixmap); });
    for (const ImageRequest &request : requests)
        loadImageThread->addFile(request);
    loadImageThread.start(QThread::InheritPriority, [this](Thread &ended) {
        // What was asked for while the thread was ending goes to the next one.
        const QList<ImageRequest> waiting = ended.takeWaiting();
        if (!waiting.isEmpty()) {
            start(waiting);
            return;
        }
        asked = {asked.path}; // the view has its picture by now
        emit loadImageFinished();
    });
}

void PictureLoader::prefetchNeighbours(const ImageRequest &next, const ImageRequest &previous,
                                       const QPixmap &picture)
{
    QList<ImageRequest> files;
    const bool back = lastStep == Step::Back;
    for (const ImageRequest &file : {back ? previous : next, back ? next : previous}) {
        if (!viewerClosed && !file.path.isEmpty())
            files.append(file);
    }
    prefetch.want(files, picture);
}

void PictureLoader::stop()
{
    loadImageThread.stop();
    prefetch.stop();
}

void PictureLoader::end(QDeadlineTimer deadline)
{
    loadImageThread.end(deadline);
    prefetch.end(deadline);
}
