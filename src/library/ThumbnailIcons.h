#pragma once

#include "library/ThumbnailMaker.h"
#include "shared/VistamoGlobal.h"

#include <QCache>
#include <QHash>
#include <QIcon>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QTimer>

#include <memory>

/// The icons of the thumbnails: squares of 256 pixels with the picture in the middle, made when they are
/// painted. An icon keeps only the key of its picture; pixels and encoded bytes stand in two caches, each
/// with a bound in bytes. GUI thread only; icons may outlive this object and are blank then.
class ThumbnailIcons : public QObject
{
    Q_OBJECT

public:
    /// Where the picture of one icon comes from.
    struct Source
    {
        quint64 id = 0; ///< 0 for the blank square
        int row = 0;    ///< where the file stood when the icon was made
        TThumbnailRecord key;
        QSize size;          ///< of the thumbnail, pixels
        bool stored = false; ///< in the database; otherwise in memory
    };

    explicit ThumbnailIcons(QObject *parent = nullptr);

    /// The plain square that stands for a picture not read yet or without content.
    QIcon blank();

    /// The icon for an answer about the file of `record`.
    QIcon icon(const ThumbnailAnswer &answer, const TFileRecord &record);

    /// The square of `source`, scaled to `side` device pixels. Blank if the picture is not at hand: then it
    /// is asked for (`lost`), or painted again later.
    QPixmap square(const Source &source, int side);

    /// Drops all pixels, so that squares are made anew in the palette's colours.
    void clearSquares();

signals:
    /// The picture of the file in `row` is at hand no longer: `stored` tells whether the database should have
    /// given it, or memory.
    void lost(const QString &fullPath, int row, bool stored);

    /// Icons that could not be painted can be tried again.
    void repaintNeeded();

private:
    QImage picture(const Source &source);
    QImage storedPicture(const Source &source);
    void reportLost(const Source &source);

    quint64 lastId = 0;
    QCache<QPair<quint64, int>, QPixmap> squares; ///< by source and side
    QCache<quint64, QByteArray> encoded;          ///< by source
    QHash<quint64, int> busyAnswers;              ///< of the database, by source
    QSet<quint64> reportedLost;
    QTimer repaintTimer;
};

/// Where the picture lies in its square: centred, with integer division.
QRect thumbnailRect(QSize thumbnail);
