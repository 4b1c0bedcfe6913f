#pragma once

#include "shared/threads/Worker.h"
#include "viewer/VistamoLoadImageThread.h"

#include <QList>
#include <QPixmap>

/// Pictures that the user is likely to want next, decoded while nothing else is asked for and kept within a
/// bound in bytes. GUI thread.
class DecodedAhead
{
public:
    /// What may be wanted next, the likeliest first; all other pictures are dropped. Of the files only so
    /// many are decoded as fit the bound if they are as large as `shown`.
    void want(const QList<ImageRequest> &files, const QPixmap &shown);

    /// Begins no further picture until something is wanted again. One whose drive does not answer is given
    /// up.
    void pause();

    /// `file` with its picture, if that is at hand or being decoded.
    [[nodiscard]] ImageRequest request(const ImageRequest &file);

    /// At the end of the program: tells the thread that decodes to stop; waits for it.
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
    ImageRequest inHand; ///< no path for none
    bool paused = false;
    Worker<VistamoLoadImageThread> thread;
};
