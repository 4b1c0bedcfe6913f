#pragma once

#include <QEvent>

/// True if the program is shown in dark colours.
[[nodiscard]] bool isDarkColourScheme();

/// True for the event by which a window learns that the system's theme has changed.
[[nodiscard]] bool isThemeChange(const QEvent &event);
