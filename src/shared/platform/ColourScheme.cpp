#include "shared/platform/ColourScheme.h"

#include <QGuiApplication>
#include <QStyleHints>

#include <algorithm>
#include <cmath>

namespace {

/// As the WCAG reckons it, 0 to 1.
double luminance(const QColor &colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
           + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

/// The colour, so much darker or lighter that it stands out from the other one.
QColor standingOut(QColor colour, const QColor &other)
{
    // Texts need 4.5, and thin letters do not reach their full colour.
    constexpr double leastContrast = 5.8;
    constexpr int mostSteps = 100;
    const bool isOnDark = contrast(other, Qt::black) < contrast(other, Qt::white);
    for (int step = 0; step < mostSteps && contrast(colour, other) < leastContrast; ++step)
        colour = isOnDark ? colour.lighter(105) : colour.darker(105);
    return colour;
}

} // namespace

// Before 6.5 Qt knows no colour scheme: the palette tells.

bool isDarkColourScheme()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    return QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark;
#else
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
#endif
}

bool isThemeChange(const QEvent &event)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
    if (event.type() == QEvent::PaletteChange)
        return true;
#endif
    return event.type() == QEvent::ThemeChange;
}

void makeReadable(QPalette &palette)
{
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        const QColor text = palette.color(group, QPalette::HighlightedText);
        palette.setColor(group, QPalette::Highlight,
                         standingOut(palette.color(group, QPalette::Highlight), text));
        palette.setColor(
            group, QPalette::Link,
            standingOut(palette.color(group, QPalette::Link), palette.color(group, QPalette::Window)));
    }
}
