#include "library/ThumbnailIcons.h"

#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIconEngine.h"
#include "shared/image/ColourScreens.h"

#include <QPalette>

#include <utility>

namespace {

// A few screens of squares, and about eight thousand encoded pictures.
constexpr qsizetype squaresBytes = 48LL * 1024 * 1024;
constexpr qsizetype encodedBytes = 64LL * 1024 * 1024;
// A database that is busy is asked again after this, and given up after two seconds.
constexpr int repaintAfterMs = 100;
constexpr int mostBusyAnswers = 20;
// More than fit on a screen; one that falls out is reported again when it is painted.
constexpr qsizetype mostLost = 200;

} // namespace

ThumbnailIcons::ThumbnailIcons(QObject *parent)
    : QObject(parent)
    , squares(squaresBytes)
    , encoded(encodedBytes)
{
    repaintTimer.setSingleShot(true);
    repaintTimer.setInterval(repaintAfterMs);
    connect(&repaintTimer, &QTimer::timeout, this, &ThumbnailIcons::repaintNeeded);
    connect(&Colour::Screens::all(), &Colour::Screens::changed, this, [this] {
        squares.clear();
        emit repaintNeeded();
    });
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

    const Colour::Screens &screens = Colour::Screens::all();
    const QImage thumbnail = screens.shown(source.id ? picture(source) : QImage(), screens.iconScreen());
    QImage canvas =
        squareAround(thumbnail, thumbnailSide, QPalette().color(QPalette::Active, QPalette::Base));
    if (side != thumbnailSide)
        canvas = canvas.scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

    QPixmap square = QPixmap::fromImage(std::move(canvas));
    if (!thumbnail.isNull() || source.id == 0)
        squares.insert(key, new QPixmap(square), qsizetype(side) * side * 4);
    return square;
}

std::optional<ThumbnailIcons::Source> ThumbnailIcons::takeLost()
{
    return lost.isEmpty() ? std::nullopt : std::optional(lost.takeLast());
}

void ThumbnailIcons::clear()
{
    squares.clear();
    encoded.clear();
    busyAnswers.clear();
    lost.clear();
}

QImage ThumbnailIcons::picture(const Source &source)
{
    if (source.stored)
        return storedPicture(source);
    const QByteArray *const bytes = encoded.object(source.id);
    QImage image = bytes ? QImage::fromData(*bytes) : QImage();
    if (image.isNull())
        reportLost(source);
    return image;
}

QImage ThumbnailIcons::storedPicture(const Source &source)
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
    QImage image = QImage::fromData(found.jpeg, "JPG");
    if (image.isNull())
        reportLost(source);
    return image;
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
