#pragma once

#include "viewer/DisplayedImage.h"
#include "viewer/ReducedPicture.h"
#include "viewer/ViewGeometry.h"

#include <QImage>
#include <QObject>
#include <QTimer>

#include <functional>
#include <future>

/// A change to a picture, which any thread may make.
using PictureEdit = std::function<QImage(const QImage &)>;

/// The picture that the viewer shows, with its edits, and how it is scaled for the view: at once while
/// something changes, smoothly after a debounce of a second. GUI thread.
///
/// After a change the view is either laid out again (`refit`) or only drawn again (`redraw`). Nothing is
/// painted here. Sizes of the view are pixels of the screen.
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

    // Each replaces the picture and gives the previous one; `refit` or `redraw` is to follow.

    /// A thumbnail stands in for the next picture until that is decoded.
    QPixmap standIn(const QPixmap &thumbnail);

    /// The picture in full. What was edited since `standIn` is edited on it too.
    QPixmap exchange(const QPixmap &picture);

    /// Turns the picture by a quarter. The view turns with it, and keeps its scale.
    void turn(bool clockwise);

    /// Mirrors the picture, and the view with it.
    void mirror(Qt::Orientation orientation);

    /// True for a picture that was turned or mirrored since `standIn`, even if back again.
    [[nodiscard]] bool isTurned() const { return wasTurned; }

    /// Makes a change to the picture in full and, where the view has pixels of its own, to these.
    void edit(const PictureEdit &change);

    /// All that was edited since `standIn`, as one.
    [[nodiscard]] PictureEdit edits() const;

    /// Shows a view that was filtered elsewhere; its width is that of the view times its device pixel ratio.
    void setFiltered(QImage image);

    /// Shows the picture itself again, as wide as the view is.
    void dropFiltered();

    /// One step of the zoom, which becomes free; false if it is refused. See `zoomStep`.
    [[nodiscard]] bool zoom(int step, double screenMm);

    /// Scales the view by the mode, and tells the size of the label that carries it, device-independent
    /// pixels.
    [[nodiscard]] QSize refit(const Viewport &viewport);

    /// Takes the scale from the view as it has become.
    double measure();

    /// What to paint. A fast view is followed by a smooth one: see `highQualityTick`. That of a large picture
    /// is made in the background: it is due once more when it is ready.
    const DisplayedImage &redraw(bool highQuality, const Viewport &viewport);

    /// To be called at each tick: true if the smooth view is due.
    [[nodiscard]] bool countDown();

    /// Starts making the smaller copy of a large picture.
    void reduce() { reducedPicture.want(selectedImage); }

signals:
    /// Comes several times a second from a fast view until the smooth one is due.
    void highQualityTick();

private:
    void smooth(QSize viewport);

    QPixmap selectedImage;        ///< in full, with its edits
    QList<PictureEdit> editsMade; ///< since the thumbnail stood in for it
    bool wasTurned = false;
    DisplayedImage displayedImage;
    ScaleMode imageScale = ScaleMode::Fit;
    double scaleFactor = 0;
    ReducedPicture reducedPicture;

    QTimer highQualityTimer; ///< runs while the smooth view is pending
    int highQualityCountdown = 10;
    std::future<QImage> smoothing; ///< of the view as it is; not valid for none
};
