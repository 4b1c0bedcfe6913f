#pragma once

#include <QEvent>

/// True if the program is shown in dark colours.
bool isDarkColourScheme();

/// True for the event by which a window learns that the system's theme has changed.
bool isThemeChange(const QEvent &event);
