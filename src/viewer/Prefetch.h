#pragma once

#include "shared/threads/Worker.h"
#include "viewer/VistamoLoadImageThread.h"

#include <QList>
#include <QPixmap>

/// Decodes the pictures that the user is likely to want next while nothing else is asked for, and keeps them
/// within a bound in bytes. GUI thread.
class Prefetch
{
public:
    /// What may be wanted next, the likeliest first; all other pictures are dropped. Of the files only so
    /// many are decoded as fit the bound if they are as large as `shown`.
    void want(const QList<ImageRequest> &files, const QPixmap &shown);

    /// Starts no further picture until `want` is called. One whose drive does not answer is given up.
    void pause();

    /// `file` with its picture, if that is decoded or in flight.
    [[nodiscard]] ImageRequest request(const ImageRequest &file);

    /// At the end of the program: tells the thread to stop; waits for it.
    void stop() { thread.stop(); }
    void end(QDeadlineTimer deadline) { thread.end(deadline); }

private:
    struct Picture
    {
        ImageRequest file;
        qint64 bytes;
    };

    bool isDecoded(const ImageRequest &file) const;
    bool isWanted(const ImageRequest &file) const;
    void decodeNext();
    void onImageLoaded(const QPixmap &pixmap);

    QList<ImageRequest> wanted;
    QList<Picture> pictures;
    ImageRequest inFlight; ///< no path for none
    bool paused = false;
    Worker<VistamoLoadImageThread> thread;
};
