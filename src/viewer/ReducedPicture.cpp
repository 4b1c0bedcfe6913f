#include "viewer/ReducedPicture.h"

#include "shared/Background.h"

#include <QImage>

#include <chrono>
#include <cmath>

namespace {

// The copy is good for the screens of these days, and its own smooth pass takes half a frame.
constexpr qreal copyPixels = 6e6;
constexpr qreal largePixels = 16e6;

} // namespace

void ReducedPicture::want(const QPixmap &full)
{
    if (full.cacheKey() == key)
        return;
    key = full.cacheKey();
    copy = QPixmap();
    making = {};
    const qreal pixels = qreal(full.width()) * full.height();
    if (pixels < largePixels)
        return;
    const QSize size = full.size() * std::sqrt(copyPixels / pixels);
    making = Background::result([image = full.toImage(), size = size.expandedTo(QSize(1, 1))] {
        return QPixmap::fromImage(image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    });
}

const QPixmap &ReducedPicture::enoughFor(const QPixmap &full, QSize device)
{
    if (full.cacheKey() != key)
        return full;
    if (making.valid() && making.wait_for(std::chrono::seconds(0)) == std::future_status::ready)
        copy = making.get();
    return device.width() <= copy.width() && device.height() <= copy.height() ? copy : full;
}
