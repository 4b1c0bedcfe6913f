#include "shared/platform/ColourScheme.h"

#include <QGuiApplication>
#include <QPalette>
#include <QStyleHints>

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
