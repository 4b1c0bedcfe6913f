#include "viewer/ReducedPicture.h"

#include "shared/threads/Background.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

// More than the largest screen needs, and enough for any window on a usual one.
constexpr qreal screensKept = 1.5;
constexpr qreal leastPixels = 6e6;
// Copies that are nearly as large as the picture are worth nothing.
constexpr qreal mostOfPicture = 0.5;

qreal area(QSizeF size)
{
    return size.width() * size.height();
}

/// The size of the copy; empty for none.
QSize copySize(QSize full)
{
    qreal pixels = leastPixels;
    for (const QScreen *const screen : QGuiApplication::screens()) {
        const QSizeF device = QSizeF(screen->size()) * screen->devicePixelRatio();
        pixels = std::max(pixels, screensKept * area(QSizeF(full).scaled(device, Qt::KeepAspectRatio)));
    }
    if (pixels > mostOfPicture * area(full))
        return {};
    return (QSizeF(full) * std::sqrt(pixels / area(full))).toSize().expandedTo(QSize(1, 1));
}

} // namespace

void ReducedPicture::want(const QPixmap &full)
{
    if (full.cacheKey() == key)
        return;
    key = full.cacheKey();
    copy = QPixmap();
    making = {};
    if (const QSize size = copySize(full.size()); !size.isEmpty()) {
        making = Background::result([image = full.toImage(), size] {
            return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        });
    }
}

const QPixmap &ReducedPicture::enoughFor(const QPixmap &full, QSize device)
{
    if (full.cacheKey() != key)
        return full;
    if (making.valid() && making.wait_for(std::chrono::seconds(0)) == std::future_status::ready)
        copy = QPixmap::fromImage(making.get());
    return device.width() <= copy.width() && device.height() <= copy.height() ? copy : full;
}
