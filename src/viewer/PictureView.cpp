#include "viewer/PictureView.h"

#include "viewer/PictureTurning.h"

#include <utility>

namespace {

// The smooth view comes when this many ticks have passed without a fast one.
constexpr int ticksToHighQuality = 10;
constexpr int highQualityTickMs = 100;
// Debounce of the reduced copy of an edited picture: half of that time.
constexpr int ticksToReducing = 5;

} // namespace

PictureView::PictureView()
{
    highQualityTimer.setInterval(highQualityTickMs);
    connect(&highQualityTimer, &QTimer::timeout, this, &PictureView::highQualityTick);
}

QPixmap PictureView::exchange(const QPixmap &picture)
{
    return std::exchange(selectedImage, picture);
}

void PictureView::turn(bool clockwise)
{
    edit([clockwise](const QImage &image) { return PictureTurning::rotated(image, clockwise); });
    displayedImage.size.transpose();
}

void PictureView::edit(const std::function<QImage(const QImage &)> &change)
{
    const bool same = displayedImage.pixels.cacheKey() == selectedImage.cacheKey();
    selectedImage = QPixmap::fromImage(change(selectedImage.toImage()));
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

QSize PictureView::refit(QSize viewport)
{
    const ViewLayout layout = viewLayout(imageScale, selectedImage.size(), viewport, scaleFactor);
    Q_ASSERT_X(layout.image.isEmpty() == selectedImage.isNull(), Q_FUNC_INFO,
               qPrintable(QStringLiteral("%1 x %2 for a picture of %3 x %4")
                              .arg(layout.image.width())
                              .arg(layout.image.height())
                              .arg(selectedImage.width())
                              .arg(selectedImage.height())));
    displayedImage = {layout.image};
    return layout.label;
}

double PictureView::measure()
{
    scaleFactor = static_cast<double>(displayedImage.width()) / selectedImage.width();
    return scaleFactor;
}

const DisplayedImage &PictureView::redraw(bool highQuality, QSize viewport, qreal ratio)
{
    if (highQuality)
        displayedImage = smoothImage(pictureFor(ratio), displayedImage.size, viewport, ratio);
    if (displayedImage.pixels.isNull())
        displayedImage.pixels = pictureFor(ratio);
    if (!highQuality) {
        highQualityCountdown = ticksToHighQuality;
        if (!highQualityTimer.isActive())
            highQualityTimer.start();
    }
    return displayedImage;
}

/// The picture in full, or its copy where that is enough for the present view.
const QPixmap &PictureView::pictureFor(qreal ratio)
{
    return reducedPicture.enoughFor(selectedImage, (QSizeF(displayedImage.size) * ratio).toSize());
}

bool PictureView::countDown()
{
    if (highQualityCountdown >= 1) {
        if (--highQualityCountdown == ticksToReducing)
            reduce();
        return false;
    }
    highQualityTimer.stop();
    return true;
}
