#pragma once

#include "viewer/VistamoLoadImageThread.h"

#include <QList>
#include <QObject>
#include <QPixmap>

/// Pictures that the user is likely to want next, decoded while nothing else is asked for and kept within a
/// bound in bytes. GUI thread.
class DecodedAhead : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// What may be wanted next, the likeliest first; all other pictures are dropped. Of the files only so
    /// many are decoded as fit the bound if they are as large as `shown`.
    void want(const QList<ImageRequest> &files, const QPixmap &shown);

    /// Begins no further picture until something is wanted again. One whose drive does not answer is given
    /// up.
    void pause();

    /// `file` with its picture, if that is at hand or being decoded.
    ImageRequest request(const ImageRequest &file);

    /// Gives the thread that decodes to the caller, who has to end it; null if there is none.
    VistamoLoadImageThread *takeThread();

private slots:
    void onImageLoaded(QPixmap pixmap);
    void onFinished();

private:
    struct Picture
    {
        ImageRequest file;
        qint64 bytes;
    };

    bool isDecoded(const ImageRequest &file) const;
    bool isWanted(const ImageRequest &file) const;
    void decodeNext();

    QList<ImageRequest> wanted;
    QList<Picture> pictures;
    ImageRequest inHand; ///< no path for none
    bool paused = false;
    VistamoLoadImageThread *thread = nullptr;
};
