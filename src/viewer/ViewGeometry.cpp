#include "viewer/ViewGeometry.h"

#include <QtMath>

#include <algorithm>
#include <cmath>

namespace {

// Room for a scroll bar and the frame; what the scroll bars really do is not looked at.
constexpr QSize frame(16, 4);
constexpr double zoomPerStep = 0.1;
constexpr int narrowest = 40;
constexpr int mostEnlarged = 4;
constexpr int buttonMargin = 20;
// What a widget can be, pixels.
constexpr qreal largestSide = (1 << 24) - 1;

int scaledSide(int from, int to, int otherSide)
{
    return qRound(std::clamp(static_cast<qreal>(to) / from * otherSide, 1.0, largestSide));
}

QSize fitted(QSize full, QSize label)
{
    const float a = static_cast<float>(full.width()) / static_cast<float>(label.width());
    const float b = static_cast<float>(full.height()) / static_cast<float>(label.height());
    return b > a ? scaledToHeight(full, label.height()) : scaledToWidth(full, label.width());
}

} // namespace

bool isWhole(qreal ratio)
{
    return qFuzzyCompare(ratio, std::round(ratio));
}

ScaleMode storedScaleMode(int value)
{
    const bool known =
        value >= static_cast<int>(ScaleMode::Fit) && value <= static_cast<int>(ScaleMode::RealSize);
    return known ? static_cast<ScaleMode>(value) : ScaleMode::Fit;
}

QSize viewportOf(QSize scrollArea)
{
    return (scrollArea - frame).expandedTo(QSize(1, 1));
}

QSize Viewport::pixels() const
{
    // Where a device-independent pixel is no whole number of them, it may begin and end within one.
    const int cut = isWhole(ratio) ? 0 : 1;
    const auto along = [&](int side) { return std::max(qFloor(side * ratio) - cut, 1); };
    return {along(size.width()), along(size.height())};
}

QSize Viewport::labelFor(QSize needed) const
{
    const int added = isWhole(ratio) ? 0 : 1;
    const auto along = [&](int side) { return qCeil((side + added) / ratio); };
    return QSize(along(needed.width()), along(needed.height())).expandedTo(size);
}

QSize scaledToWidth(QSize full, int width)
{
    return full.isEmpty() || width < 1 ? QSize()
                                       : QSize(width, scaledSide(full.width(), width, full.height()));
}

QSize scaledToHeight(QSize full, int height)
{
    return full.isEmpty() || height < 1 ? QSize()
                                        : QSize(scaledSide(full.height(), height, full.width()), height);
}

ViewLayout viewLayout(ScaleMode mode, QSize full, QSize viewport, double scaleFactor)
{
    if (full.isEmpty())
        return {QSize(), viewport};
    // Without a factor, since no picture was shown before, the picture is fitted.
    if (mode == ScaleMode::Free && !(scaleFactor > 0))
        mode = ScaleMode::Fit;
    QSize image;
    switch (mode) {
    case ScaleMode::Fit:
        return {fitted(full, viewport), viewport};
    case ScaleMode::FitWidth:
        image = scaledToWidth(full, viewport.width());
        break;
    case ScaleMode::FitHeight:
        image = scaledToHeight(full, viewport.height());
        break;
    case ScaleMode::RealSize:
        image = full;
        break;
    case ScaleMode::Free:
        image = scaledToHeight(full, std::max(1, static_cast<int>(full.height() * scaleFactor)));
        break;
    }
    return {image, image.expandedTo(viewport)};
}

std::optional<int> zoomStep(int shown, int full, int step, double screenMm)
{
    if (step >= 1) {
        const int wider = static_cast<int>(shown + shown * zoomPerStep);
        if (wider > mostEnlarged * full && wider >= screenMm)
            return std::nullopt;
        return wider;
    }
    if (step < 0) {
        const int narrower = static_cast<int>(shown - shown * zoomPerStep);
        if (narrower < narrowest)
            return std::nullopt;
        return narrower;
    }
    return std::nullopt;
}

QString percentText(double scaleFactor)
{
    return QString::number(scaleFactor * 100.0, 'g', 6) + QLatin1Char('%');
}

NavigationButtons navigationButtons(QSize scrollArea, QSize backButton, QSize forwardButton)
{
    const auto top = [&](QSize button) { return scrollArea.height() / 2 - button.height() / 2; };
    // The right edge of a QRect is its last pixel.
    const int right = scrollArea.width() - 1;
    return {QPoint(buttonMargin, top(backButton)),
            QPoint(right - buttonMargin - forwardButton.width(), top(forwardButton))};
}

int nextIndex(int index, int count)
{
    return index < count - 1 ? index + 1 : 0;
}

int previousIndex(int index, int count)
{
    return std::max(0, std::min(index >= 1 ? index - 1 : count - 1, count - 1));
}
