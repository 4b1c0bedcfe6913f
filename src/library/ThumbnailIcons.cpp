#include "library/ThumbnailIcons.h"

#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIconEngine.h"
#include "shared/image/ColourScreens.h"
#include "shared/threads/StoppableThread.h"

#include <QGuiApplication>
#include <QPalette>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace {

// A few screens of squares, and about eight thousand encoded pictures.
constexpr qsizetype squaresBytes = 48LL * 1024 * 1024;
constexpr qsizetype encodedBytes = 64LL * 1024 * 1024;
// A database that is busy is asked again after this, and given up after two seconds.
constexpr int repaintAfterMs = 100;
constexpr int mostBusyAnswers = 20;
// What the GUI thread may spend on missing squares, until none has been missing for a while.
constexpr qint64 mostOnMissingNs = 4'000'000;
constexpr int restMs = 100;
// Squares that are made within half a frame are painted together.
constexpr int paintedTogetherMs = 8;
// Of a lookup in hand at the end of the program.
constexpr int longestEndMs = 1000;
// More than fit on a screen; one that falls out is reported again when it is painted.
constexpr qsizetype mostLost = 200;

} // namespace

ThumbnailIcons::ThumbnailIcons(QObject *parent)
    : QObject(parent)
    , squares(squaresBytes)
    , encoded(encodedBytes)
    , maker(std::make_unique<SquareMaker>())
{
    repaintTimer.setSingleShot(true);
    repaintTimer.setInterval(repaintAfterMs);
    connect(&repaintTimer, &QTimer::timeout, this, &ThumbnailIcons::repaintNeeded);
    madeTimer.setSingleShot(true);
    madeTimer.setInterval(paintedTogetherMs);
    connect(&madeTimer, &QTimer::timeout, this, &ThumbnailIcons::repaintNeeded);
    connect(maker.get(), &SquareMaker::made, this, &ThumbnailIcons::takeMade);
    connect(&Colour::Screens::all(), &Colour::Screens::changed, this, [this] {
        clearSquares();
        emit repaintNeeded();
    });
}

ThumbnailIcons::~ThumbnailIcons()
{
    if (maker->finish(longestEndMs))
        return;
    StoppableThread::someLeftBehind = true;
    static_cast<void>(maker.release()); // a lookup that hangs may come back to it
}

QIcon ThumbnailIcons::blank()
{
    return QIcon(new ThumbnailIconEngine(this, {}));
}

QIcon ThumbnailIcons::icon(const ThumbnailAnswer &answer, const TFileRecord &record)
{
    if (answer.size.isEmpty())
        return blank();
    Source source = {++lastId, answer.row, answer.key, answer.stored};
    // The same text, kept once.
    if (source.key.fullPath == record.fullPath)
        source.key.fullPath = record.fullPath;
    if (!answer.stored)
        encoded.insert(source.id, new QByteArray(answer.encoded), answer.encoded.size());
    return QIcon(new ThumbnailIconEngine(this, source));
}

QPixmap ThumbnailIcons::square(const Source &source, int side)
{
    const QPair<quint64, int> key(source.id, side);
    if (const QPixmap *const ready = squares.object(key))
        return *ready;

    const QImage thumbnail = source.id ? picture(source) : QImage();
    const SquareOrder order = orderOf(source, side);
    QPixmap square = QPixmap::fromImage(order.squareAround(thumbnail));
    if (!thumbnail.isNull() || source.id == 0)
        keep(order, square);
    return square;
}

QPixmap ThumbnailIcons::paintedSquare(const Source &source, int side)
{
    if (source.id == 0 || squares.contains({source.id, side}))
        return square(source, side);
    if (!sinceMissing.isValid() || sinceMissing.hasExpired(restMs))
        spentOnMissing = 0;
    sinceMissing.start();
    const QByteArray *const bytes = source.stored ? nullptr : encoded.object(source.id);
    if ((!source.stored && !bytes) || notMade.contains(source.id)
        || (spentOnMissing < mostOnMissingNs && !maker->isBusy())) {
        QPixmap made = square(source, side);
        spentOnMissing += sinceMissing.nsecsElapsed();
        return made;
    }
    SquareOrder order = orderOf(source, side);
    order.key = source.key;
    if (bytes) {
        order.encoded = *bytes;
    } else if (notFound.contains(source.id)) {
        order.encoded = storedBytes(source); // a lookup here tells why, and leaves the decoding
        if (order.encoded.isEmpty())
            return square({}, side);
    }
    maker->order(std::move(order));
    return square({}, side);
}

SquareOrder ThumbnailIcons::orderOf(const Source &source, int side) const
{
    const Colour::Screens &screens = Colour::Screens::all();
    SquareOrder order;
    order.id = source.id;
    order.side = side;
    order.background = QPalette().color(QPalette::Active, QPalette::Base);
    order.to = screens.transformTo(screens.iconScreen());
    return order;
}

void ThumbnailIcons::keep(const SquareOrder &order, const QPixmap &square)
{
    // All that the screens can show stay, or they would be made and painted without end.
    if (const QScreen *const screen = QGuiApplication::primaryScreen()) {
        const QSizeF shown = QSizeF(screen->virtualSize()) * qGuiApp->devicePixelRatio();
        squares.setMaxCost(
            std::max(squaresBytes, static_cast<qsizetype>(2 * 4 * shown.width() * shown.height())));
    }
    notFound.remove(order.id);
    notMade.remove(order.id);
    squares.insert(order.name(), new QPixmap(square), qsizetype(order.side) * order.side * 4);
}

void ThumbnailIcons::takeMade(const SquareOrder &order, const QImage &square)
{
    if (square.isNull())
        (order.encoded.isEmpty() ? notFound : notMade).insert(order.id); // painting it tells why
    else
        keep(order, QPixmap::fromImage(square));
    if (!madeTimer.isActive())
        madeTimer.start();
}

std::optional<ThumbnailIcons::Source> ThumbnailIcons::takeLost()
{
    return lost.isEmpty() ? std::nullopt : std::optional(lost.takeLast());
}

void ThumbnailIcons::clearSquares()
{
    maker->dropAll();
    squares.clear();
}

void ThumbnailIcons::clear()
{
    clearSquares();
    encoded.clear();
    busyAnswers.clear();
    notFound.clear();
    notMade.clear();
    lost.clear();
}

QImage ThumbnailIcons::picture(const Source &source)
{
    const QByteArray *const kept = source.stored ? nullptr : encoded.object(source.id);
    const QByteArray bytes = source.stored ? storedBytes(source) : kept ? *kept : QByteArray();
    QImage image = QImage::fromData(bytes, source.stored ? "JPG" : nullptr);
    if (image.isNull() && !(source.stored && bytes.isEmpty())) // which has been seen to
        reportLost(source);
    return image;
}

/// What the database has of a picture; of none it is reported lost, but not where the database is busy.
QByteArray ThumbnailIcons::storedBytes(const Source &source)
{
    ThumbnailDatabase::Stored found;
    const auto outcome = ThumbnailDatabase::find(source.key, VistamoGlobal::thumbnailTableName,
                                                 VistamoGlobal::thumbnailDatabase, found);
    if (outcome == ThumbnailDatabase::Outcome::Busy && ++busyAnswers[source.id] < mostBusyAnswers) {
        if (!repaintTimer.isActive())
            repaintTimer.start();
        return {};
    }
    busyAnswers.remove(source.id);
    if (found.jpeg.isEmpty())
        reportLost(source);
    return found.jpeg;
}

void ThumbnailIcons::reportLost(const Source &source)
{
    const auto same = [&](const Source &other) { return other.id == source.id; };
    lost.removeIf(same);
    lost.append(source);
    if (lost.size() > mostLost)
        lost.removeFirst();
    // Not from inside a paint event.
    QMetaObject::invokeMethod(this, &ThumbnailIcons::lostPictures, Qt::QueuedConnection);
}
