#include "library/ThumbnailIcons.h"

#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIconEngine.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>

namespace {

constexpr qsizetype squaresBytes = 48 * 1024 * 1024;
constexpr qsizetype encodedBytes = 64 * 1024 * 1024;
constexpr int repaintAfterMs = 100;
constexpr int busyAnswersUntilLost = 20;

} // namespace

QRect thumbnailRect(QSize thumbnail)
{
    return {QPoint((thumbnailSide - thumbnail.width()) / 2, (thumbnailSide - thumbnail.height()) / 2),
            thumbnail};
}

ThumbnailIcons::ThumbnailIcons(QObject *parent)
    : QObject(parent)
    , squares(squaresBytes)
    , encoded(encodedBytes)
{
    repaintTimer.setSingleShot(true);
    repaintTimer.setInterval(repaintAfterMs);
    connect(&repaintTimer, &QTimer::timeout, this, &ThumbnailIcons::repaintNeeded);
}

QIcon ThumbnailIcons::blank()
{
    return QIcon(new ThumbnailIconEngine(this, {}));
}

QIcon ThumbnailIcons::icon(const ThumbnailAnswer &answer, const TFileRecord &record)
{
    if (answer.size.isEmpty())
        return blank();
    Source source;
    source.id = ++lastId;
    source.row = answer.row;
    source.key.fullPath = record.fullPath;
    source.key.size = record.size;
    source.key.creationTime = ThumbnailDatabase::keyTime(record);
    source.size = answer.size;
    source.stored = answer.stored;
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
    QImage canvas(side, side, QImage::Format_RGB32);
    QPainter painter(&canvas);
    painter.fillRect(canvas.rect(), QPalette().brush(QPalette::Active, QPalette::Base).color());
    painter.setRenderHint(QPainter::SmoothPixmapTransform, side != thumbnailSide);
    painter.scale(qreal(side) / thumbnailSide, qreal(side) / thumbnailSide);
    painter.drawImage(thumbnailRect(thumbnail.size()), thumbnail);
    painter.end();

    const QPixmap square = QPixmap::fromImage(std::move(canvas));
    if (!thumbnail.isNull() || source.id == 0)
        squares.insert(key, new QPixmap(square), qsizetype(side) * side * 4);
    return square;
}

void ThumbnailIcons::clearSquares()
{
    squares.clear();
}

QImage ThumbnailIcons::picture(const Source &source)
{
    if (source.stored)
        return storedPicture(source);
    const QByteArray *const bytes = encoded.object(source.id);
    const QImage image = bytes ? QImage::fromData(*bytes) : QImage();
    if (image.isNull())
        reportLost(source);
    return image;
}

QImage ThumbnailIcons::storedPicture(const Source &source)
{
    ThumbnailDatabase::Stored found;
    const auto outcome = ThumbnailDatabase::find(source.key, VistamoGlobal::thumbnailTableName,
                                                 VistamoGlobal::thumbnailDatabase, found);
    if (outcome == ThumbnailDatabase::Outcome::Busy && ++busyAnswers[source.id] < busyAnswersUntilLost) {
        if (!repaintTimer.isActive())
            repaintTimer.start();
        return {};
    }
    busyAnswers.remove(source.id);
    const QImage image = QImage::fromData(found.jpeg, "JPG");
    if (image.isNull())
        reportLost(source);
    return image;
}

/// Asks once for each icon: the answer brings the row a new one.
void ThumbnailIcons::reportLost(const Source &source)
{
    if (reportedLost.contains(source.id))
        return;
    reportedLost.insert(source.id);
    // Not from inside a paint event.
    QMetaObject::invokeMethod(
        this, [this, source] { emit lost(source.key.fullPath, source.row, source.stored); },
        Qt::QueuedConnection);
}
