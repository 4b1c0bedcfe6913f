#pragma once

#include "library/SquareMaker.h"
#include "library/ThumbnailMaker.h"
#include "shared/VistamoGlobal.h"

#include <QCache>
#include <QElapsedTimer>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QTimer>

#include <memory>
#include <optional>

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
        bool stored = false; ///< in the database; otherwise in memory
    };

    explicit ThumbnailIcons(QObject *parent = nullptr);
    ~ThumbnailIcons() override;

    /// The plain square that stands for a picture not read yet or without content.
    [[nodiscard]] QIcon blank();

    /// The icon for an answer about the file of `record`.
    [[nodiscard]] QIcon icon(const ThumbnailAnswer &answer, const TFileRecord &record);

    /// The square of `source`, scaled to `side` device pixels. Blank if the picture is not there: then it
    /// is reported lost, or can be painted again later.
    [[nodiscard]] QPixmap square(const Source &source, int side);

    /// The same for painting: where too much would be missing at once, as it is while the user scrolls, it is
    /// the blank square until the picture is made in the background and `repaintNeeded`.
    [[nodiscard]] QPixmap paintedSquare(const Source &source, int side);

    /// True while pictures are being made in the background.
    [[nodiscard]] bool isMaking() const { return maker->isBusy(); }

    /// The picture that was missed last, of those that are neither in the database nor in memory any more and
    /// have not been taken yet.
    [[nodiscard]] std::optional<Source> takeLost();

    /// Drops all pixels, so that squares are made again in the palette's colours.
    void clearSquares();

    /// Drops all that is kept for icons that are gone.
    void clear();

signals:
    /// `takeLost` has something to give.
    void lostPictures();

    /// Icons that could not be painted can be tried again, or their pictures have been made.
    void repaintNeeded();

private:
    [[nodiscard]] SquareOrder orderOf(const Source &source, int side) const;
    void keep(const SquareOrder &order, const QPixmap &square);
    void takeMade(const SquareOrder &order, const QImage &square);
    [[nodiscard]] QImage picture(const Source &source);
    [[nodiscard]] QByteArray storedBytes(const Source &source);
    void reportLost(const Source &source);

    quint64 lastId = 0;
    QCache<QPair<quint64, int>, QPixmap> squares; ///< by source and side
    QCache<quint64, QByteArray> encoded;          ///< by source
    QHash<quint64, int> busyAnswers;              ///< of the database, by source
    QList<Source> lost;                           ///< the latest last
    QTimer repaintTimer;
    QSet<quint64> notFound;     ///< sources that the background did not find in the database
    QSet<quint64> notMade;      ///< sources whose bytes gave no picture there
    QTimer madeTimer;           ///< runs from the first of some squares made to their painting
    QElapsedTimer sinceMissing; ///< since the last square that was painted and not there
    qint64 spentOnMissing = 0;  ///< nanoseconds, since squares began to be missing
    std::unique_ptr<SquareMaker> maker;
};
