#include "viewer/PictureView.h"

#include "shared/threads/Background.h"
#include "viewer/PictureTurning.h"

#include <chrono>
#include <utility>

namespace {

// The smooth view comes when this many ticks have passed without a fast one.
constexpr int ticksToHighQuality = 10;
constexpr int highQualityTickMs = 100;
// Debounce of the reduced copy of an edited picture: half of that time.
constexpr int ticksToReducing = 5;
// Scaled smoothly within a frame or so.
constexpr qint64 mostAtOnce = 12'000'000;

constexpr qint64 area(QSize size)
{
    return qint64(size.width()) * size.height();
}

} // namespace

PictureView::PictureView()
{
    highQualityTimer.setInterval(highQualityTickMs);
    connect(&highQualityTimer, &QTimer::timeout, this, &PictureView::highQualityTick);
}

QPixmap PictureView::standIn(const QPixmap &thumbnail)
{
    editsMade.clear();
    wasTurned = false;
    return std::exchange(selectedImage, thumbnail);
}

QPixmap PictureView::exchange(const QPixmap &picture)
{
    return std::exchange(selectedImage,
                         editsMade.isEmpty() ? picture : QPixmap::fromImage(edits()(picture.toImage())));
}

void PictureView::turn(bool clockwise)
{
    edit([clockwise](const QImage &image) { return PictureTurning::rotated(image, clockwise); });
    displayedImage.size.transpose();
    wasTurned = true;
}

void PictureView::mirror(Qt::Orientation orientation)
{
    edit([orientation](const QImage &image) { return PictureTurning::mirrored(image, orientation); });
    wasTurned = true;
}

PictureEdit PictureView::edits() const
{
    return [made = editsMade](QImage image) {
        for (const PictureEdit &change : made)
            image = change(image);
        return image;
    };
}

void PictureView::edit(const PictureEdit &change)
{
    editsMade.append(change);
    const bool same = displayedImage.pixels.cacheKey() == selectedImage.cacheKey();
    selectedImage = QPixmap::fromImage(change(selectedImage.toImage()));
    if (!displayedImage.pixels.isNull())
        displayedImage.pixels =
            same ? selectedImage : QPixmap::fromImage(change(displayedImage.pixels.toImage()));
}

void PictureView::setFiltered(QImage image)
{
    // The picture may be another one by now: the next draw goes by the width.
    const QSize size = scaledToWidth(selectedImage.size(), qRound(image.deviceIndependentSize().width()));
    image.setDevicePixelRatio(1.0);
    displayedImage = {size, true, QPixmap::fromImage(image)};
}

void PictureView::dropFiltered()
{
    displayedImage = {scaledToWidth(selectedImage.size(), displayedImage.width())};
}

bool PictureView::zoom(int step, double screenMm)
{
    const std::optional<int> width = zoomStep(displayedImage.width(), selectedImage.width(), step, screenMm);
    if (!width)
        return false;
    displayedImage = {scaledToWidth(selectedImage.size(), *width)};
    imageScale = ScaleMode::Free;
    return true;
}

QSize PictureView::refit(const Viewport &viewport)
{
    const ViewLayout layout = viewLayout(imageScale, selectedImage.size(), viewport.pixels(), scaleFactor);
    Q_ASSERT_X(layout.image.isEmpty() == selectedImage.isNull(), Q_FUNC_INFO,
               qPrintable(QStringLiteral("%1 x %2 for a picture of %3 x %4")
                              .arg(layout.image.width())
                              .arg(layout.image.height())
                              .arg(selectedImage.width())
                              .arg(selectedImage.height())));
    displayedImage = {layout.image};
    return viewport.labelFor(layout.image);
}

double PictureView::measure()
{
    scaleFactor = static_cast<double>(displayedImage.width()) / selectedImage.width();
    return scaleFactor;
}

const DisplayedImage &PictureView::redraw(bool highQuality, const Viewport &viewport)
{
    if (highQuality) {
        smooth(viewport.pixels());
    } else {
        smoothing = {}; // of a view that has changed
        highQualityCountdown = ticksToHighQuality;
        if (!highQualityTimer.isActive())
            highQualityTimer.start();
    }
    if (displayedImage.pixels.isNull())
        displayedImage.pixels = displayedImage.smooth
                                    ? selectedImage
                                    : reducedPicture.enoughFor(selectedImage, displayedImage.size);
    return displayedImage;
}

/// Makes the view smooth, from all of the picture: that of a large one as soon as its pixels are ready.
void PictureView::smooth(QSize viewport)
{
    if (smoothing.valid()) {
        displayedImage = {displayedImage.size, true, QPixmap::fromImage(smoothing.get())};
    } else if (area(selectedImage.size()) <= mostAtOnce) {
        displayedImage = smoothImage(selectedImage, displayedImage.size, viewport);
    } else {
        smoothing = Background::result([full = selectedImage.toImage(), size = displayedImage.size,
                                        viewport] { return smoothPixels(full, size, viewport); });
        highQualityTimer.start();
    }
}

bool PictureView::countDown()
{
    if (smoothing.valid()) {
        if (smoothing.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
            return false;
    } else if (highQualityCountdown >= 1) {
        if (--highQualityCountdown == ticksToReducing)
            reduce();
        return false;
    }
    highQualityTimer.stop();
    return true;
}
