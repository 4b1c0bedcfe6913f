#include "library/SquareMaker.h"

#include "library/ThumbnailDatabase.h"
#include "library/Thumbnails.h"

#include <QThread>

#include <algorithm>
#include <optional>

namespace {

// More than fit on most screens; one that falls out is ordered again as it is painted.
constexpr qsizetype mostWaiting = 400;

} // namespace

QImage SquareOrder::squareAround(const QImage &thumbnail) const
{
    const QImage canvas = ::squareAround(to.applied(thumbnail), thumbnailSide, background);
    return side == thumbnailSide ? canvas
                                 : canvas.scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

SquareMaker::SquareMaker(QObject *parent)
    : QObject(parent)
{
    pool.setMaxThreadCount(std::max(QThread::idealThreadCount() - 1, 1)); // one is for the GUI
    pool.setObjectName(QStringLiteral("SquareMaker"));
}

bool SquareMaker::finish(int milliseconds)
{
    waiting.lock()->clear();
    return pool.waitForDone(milliseconds);
}

void SquareMaker::order(SquareOrder order)
{
    order.batch = batch;
    const auto isSame = [name = order.name()](const SquareOrder &other) { return other.name() == name; };
    {
        const auto access = waiting.lock();
        if (ordered.contains(order.name())) {
            const auto same = std::find_if(access->begin(), access->end(), isSame);
            if (same != access->end())
                std::rotate(same, same + 1, access->end());
            return;
        }
        access->append(order);
        ordered.insert(order.name());
        if (access->size() > mostWaiting)
            ordered.remove(access->takeFirst().name());
    }
    pool.start([this] { makeLatest(); });
}

void SquareMaker::dropAll()
{
    waiting.lock()->clear();
    ordered.clear();
    ++batch;
}

/// Makes the order that was given last, if there is any.
void SquareMaker::makeLatest()
{
    std::optional<SquareOrder> order;
    if (const auto access = waiting.lock(); !access->isEmpty())
        order = access->takeLast();
    if (!order)
        return;
    QImage thumbnail = QImage::fromData(order->encoded);
    if (order->encoded.isEmpty()) {
        if (const auto stored = ThumbnailDatabase::find(order->key))
            thumbnail = QImage::fromData(stored->jpeg, "JPG");
    }
    const QImage square = thumbnail.isNull() ? QImage() : order->squareAround(thumbnail);
    QMetaObject::invokeMethod(this, [this, order = *std::move(order), square] {
        if (order.batch != batch)
            return;
        ordered.remove(order.name());
        emit made(order, square);
    });
}
