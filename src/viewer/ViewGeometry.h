#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <optional>

/// How the viewer scales its picture. The values are those of the settings.
enum class ScaleMode
{
    Fit = 0,
    FitHeight = 1,
    FitWidth = 2,
    RealSize = 3,
    Free = 4
};

/// The mode for a stored value; a free zoom and nonsense become `Fit`.
[[nodiscard]] ScaleMode storedScaleMode(int value);

/// Room for the picture in a scroll area of this size, pixels: less 16 in width and 4 in height for a scroll
/// bar and the frame, at least 1.
[[nodiscard]] QSize viewportOf(QSize scrollArea);

/// True for a ratio of a screen at which each device-independent pixel is so many whole ones.
[[nodiscard]] bool isWhole(qreal ratio);

/// The room for the picture on its screen.
struct Viewport
{
    QSize size;      ///< device-independent pixels
    qreal ratio = 1; ///< the screen's pixels to one of these

    /// The whole pixels of the screen that lie in it, wherever among them it begins.
    [[nodiscard]] QSize pixels() const;

    /// Size of the label for so many pixels of the screen, device-independent; never below the viewport's.
    [[nodiscard]] QSize labelFor(QSize pixels) const;
};

/// `full` scaled to a width or height in pixels, rounded as QPixmap rounds; at least one pixel. Empty for an
/// empty size.
[[nodiscard]] QSize scaledToWidth(QSize full, int width);
[[nodiscard]] QSize scaledToHeight(QSize full, int height);

/// Sizes of the picture as shown and of the label that carries it, pixels.
struct ViewLayout
{
    QSize image; ///< empty for no picture
    QSize label; ///< never smaller than the viewport
};

/// @param full        size of the picture itself
/// @param scaleFactor of the free zoom; unused otherwise
[[nodiscard]] ViewLayout viewLayout(ScaleMode mode, QSize full, QSize viewport, double scaleFactor);

/// Next width in pixels for one wheel step, or nothing if the step is refused.
/// @param shown    width of the picture as shown, pixels of the screen
/// @param full     width of the picture itself, pixels
/// @param step     above 0: a tenth wider; below 0: a tenth narrower
/// @param screenMm width that the screen reports; compared with pixels. A step is too wide only if it passes
///                 this and four times the picture as well.
[[nodiscard]] std::optional<int> zoomStep(int shown, int full, int step, double screenMm);

/// Ratio of the widths, as percent: "100%", "33.3333%"; "nan%" for no picture.
[[nodiscard]] QString percentText(double scaleFactor);

/// Top left corners of the two buttons that float over the picture.
struct NavigationButtons
{
    QPoint back;
    QPoint forward;
};
[[nodiscard]] NavigationButtons navigationButtons(QSize scrollArea, QSize backButton, QSize forwardButton);

/// The neighbours of `index` in a list of `count` files, around both ends; 0 for an empty list.
[[nodiscard]] int nextIndex(int index, int count);
[[nodiscard]] int previousIndex(int index, int count);
