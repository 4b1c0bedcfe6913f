#pragma once

#include "viewer/DisplayedImage.h"
#include "viewer/ReducedPicture.h"
#include "viewer/ViewGeometry.h"

#include <QImage>
#include <QObject>
#include <QTimer>

#include <functional>

/// The picture that the viewer shows, with its edits, and how it is scaled for the view: at once while
/// something changes, smoothly after a debounce of a second. GUI thread.
///
/// After a change the view is either laid out again (`refit`) or only drawn again (`redraw`). Nothing is
/// painted here. The viewport is in device-independent pixels, `ratio` is the screen's pixels to one of
/// these.
class PictureView : public QObject
{
    Q_OBJECT

public:
    PictureView();

    /// The picture in full, or its thumbnail until it is decoded; null for none.
    [[nodiscard]] const QPixmap &picture() const { return selectedImage; }
    [[nodiscard]] const DisplayedImage &displayed() const { return displayedImage; }

    /// Width as displayed / width in full, as last drawn; no number without a picture.
    [[nodiscard]] double scale() const { return scaleFactor; }
    [[nodiscard]] ScaleMode mode() const { return imageScale; }
    void setMode(ScaleMode mode) { imageScale = mode; }

    /// Replaces the picture and gives the previous one; `refit` or `redraw` is to follow.
    QPixmap exchange(const QPixmap &picture);

    /// Turns the picture by a quarter. The view turns with it, and keeps its scale.
    void turn(bool clockwise);

    /// Makes a change to the picture in full and, where the view has pixels of its own, to these.
    void edit(const std::function<QImage(const QImage &)> &change);

    /// Shows a view that was filtered elsewhere; its width is that of the view times its device pixel ratio.
    void setFiltered(QImage image);

    /// Shows the picture itself again, as wide as the view is.
    void dropFiltered();

    /// One step of the zoom, which becomes free; false if it is refused. See `zoomStep`.
    [[nodiscard]] bool zoom(int step, double screenMm);

    /// Scales the view by the mode, and tells the size of the label that carries it.
    [[nodiscard]] QSize refit(QSize viewport);

    /// Takes the scale from the view as it has become.
    double measure();

    /// What to paint. A fast view is followed by a smooth one: see `highQualityTick`.
    const DisplayedImage &redraw(bool highQuality, QSize viewport, qreal ratio);

    /// To be called at each tick: true if the smooth view is due.
    [[nodiscard]] bool countDown();

    /// Starts making the smaller copy of a large picture.
    void reduce() { reducedPicture.want(selectedImage); }

signals:
    /// Comes several times a second from a fast view until the smooth one is due.
    void highQualityTick();

private:
    const QPixmap &pictureFor(qreal ratio);

    QPixmap selectedImage; ///< in full, with its edits
    DisplayedImage displayedImage;
    ScaleMode imageScale = ScaleMode::Fit;
    double scaleFactor = 0;
    ReducedPicture reducedPicture;

    QTimer highQualityTimer; ///< runs while the smooth view is pending
    int highQualityCountdown = 10;
};
