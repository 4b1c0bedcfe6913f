#pragma once

#include <QEvent>
#include <QPalette>

/// True if the program is shown in dark colours.
[[nodiscard]] bool isDarkColourScheme();

/// True for the event by which a window learns that the system's theme has changed.
[[nodiscard]] bool isThemeChange(const QEvent &event);

/// The colours of selected texts of a palette, their background so much darker or lighter that they can be
/// read. Sets nothing else.
[[nodiscard]] QPalette readableSelection(const QPalette &palette);
