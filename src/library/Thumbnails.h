#pragma once

#include "shared/VistamoGlobal.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>

/// Side of a thumbnail and of its square, pixels: the largest icon size of the list.
constexpr int thumbnailSide = 256;

/// What becomes of a thumbnail in the database. The oldest row of a key wins, so a row that is added behind a
/// broken one is never read.
enum class ThumbnailStoring
{
    Add,
    AddBehindBroken,
    Leave
};

/// The thumbnail of a file.
struct FileThumbnail
{
    QImage image;          ///< null if there is none
    QString resolution;    ///< of the full picture, as "4032x3024"; empty where it is not known
    QByteArray jpeg;       ///< what the database keeps of it; empty if it was to be left alone
    bool stored = false;   ///< the database gives it
    bool changing = false; ///< the file is being written: it may hold only a part, and nothing was stored
};

/// Made from the file of `key`, its longer side `side` pixels. A file that has changed in the last two
/// seconds, or changes meanwhile, gives what there is of it, whatever `storing` says. Any thread.
[[nodiscard]] FileThumbnail makeThumbnail(const TThumbnailRecord &key, int side, ThumbnailStoring storing);

/// From the database as it is there, or made: then `storing` says whether it goes there. Any thread.
[[nodiscard]] FileThumbnail findOrMakeThumbnail(const TThumbnailRecord &key, int side,
                                                ThumbnailStoring storing);

/// Where a picture lies in its square: centred, with integer division.
[[nodiscard]] QRect thumbnailRect(QSize thumbnail, int side = thumbnailSide);

/// The picture as it is in the middle of a square; a null one gives the plain square.
[[nodiscard]] QImage squareAround(const QImage &picture, int side, const QColor &background);

/// The thumbnail, scaled to touch its sides, in the middle of a white square.
[[nodiscard]] QImage whiteSquareAround(const QImage &thumbnail, int side);
