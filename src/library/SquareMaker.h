#pragma once

#include "shared/image/ColourConversion.h"
#include "shared/threads/Guarded.h"
#include "shared/VistamoGlobal.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QThreadPool>

/// A square with a thumbnail in its middle, to be made.
struct SquareOrder
{
    quint64 id = 0;             ///< of the picture
    int side = 0;               ///< of the square, device pixels
    QColor background;          ///< beside the picture
    Colour::ScreenTransform to; ///< the screen that the square is for
    TThumbnailRecord key;       ///< of the picture in the database
    QByteArray encoded;         ///< the picture where the database does not have it
    int batch = 0;              ///< the `SquareMaker`'s own

    [[nodiscard]] QPair<quint64, int> name() const { return {id, side}; }

    /// The square around this thumbnail, which may be null.
    [[nodiscard]] QImage squareAround(const QImage &thumbnail) const;
};
Q_DECLARE_METATYPE(SquareOrder)

/// Looks up and decodes thumbnails off the GUI thread, the latest order first: it is what the user looks at.
/// Of orders that have not been begun only some hundreds are kept.
class SquareMaker : public QObject
{
    Q_OBJECT

public:
    explicit SquareMaker(QObject *parent = nullptr);

    /// Comes back as `made`, unless too many orders follow or all are dropped. One that is given again is
    /// made once.
    void order(SquareOrder order);

    /// No order given so far comes back.
    void dropAll();

    /// Makes no more, and waits for what is in hand, `milliseconds` at most. False if something still is:
    /// then this object has to stay.
    [[nodiscard]] bool finish(int milliseconds);

    [[nodiscard]] bool isBusy() const { return !ordered.isEmpty(); }

signals:
    /// @param square null if there is no picture or the database does not answer
    void made(const SquareOrder &order, const QImage &square);

private:
    void makeLatest();

    Guarded<QList<SquareOrder>> waiting; ///< the latest last
    QSet<QPair<quint64, int>> ordered;   ///< waiting or being made, by their names
    int batch = 0;                       ///< of the orders since all were dropped
    QThreadPool pool;
};
