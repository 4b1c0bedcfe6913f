#pragma once

#include "shared/threads/Worker.h"
#include "viewer/Prefetch.h"
#include "viewer/VistamoLoadImageThread.h"

#include <QObject>

/// Decodes in the background what the viewer shows, and prefetches what it is likely to show next. It knows
/// which file is on show. GUI thread.
class PictureLoader : public QObject
{
    Q_OBJECT

public:
    enum class Step
    {
        Forward,
        Back
    };

    /// The viewer opens or closes; a closed one prefetches nothing.
    void open() { viewerClosed = false; }
    void close();
    [[nodiscard]] bool isClosed() const { return viewerClosed; }

    /// Asks for a picture; it takes the place of what waits for the one before. A loader whose drive does not
    /// answer is left behind.
    void show(const ImageRequest &file);

    [[nodiscard]] bool loadImageThreadRunning() const { return loadImageThread.isActive(); }

    /// Path of the file last asked for.
    [[nodiscard]] const QString &shown() const { return asked.path; }

    /// That file as it was asked for: `pictureOf` gives its picture as the viewer gets it, decoded once for
    /// both while `loadImageThreadRunning`.
    [[nodiscard]] const ImageRequest &request() const { return asked; }

    /// Tells which way the user goes through the files.
    void setLastStep(Step step) { lastStep = step; }

    /// Prefetches the neighbours of the picture on show, the one in the direction of the last step first;
    /// none if the viewer is closed. No path stands for no neighbour.
    void prefetchNeighbours(const ImageRequest &next, const ImageRequest &previous, const QPixmap &picture);

    /// At the end of the program: tells all threads to stop; waits for them.
    void stop();
    void end(QDeadlineTimer deadline);

signals:
    /// A picture, null if it could not be read; they come in the order in which they were asked for.
    void imageLoaded(QPixmap pixmap);

    /// Nothing is left to decode.
    void loadImageFinished();

private:
    void start(const QList<ImageRequest> &requests);
    void replaceHangingLoader();

    ImageRequest asked; ///< last
    bool viewerClosed = true;
    Step lastStep = Step::Forward;
    Worker<VistamoLoadImageThread> loadImageThread;
    Prefetch prefetch;
};
