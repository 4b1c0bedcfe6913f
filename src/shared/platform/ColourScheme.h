#pragma once

#include <QEvent>
#include <QPalette>

/// True if the program is shown in dark colours.
[[nodiscard]] bool isDarkColourScheme();

/// True for the event by which a window learns that the system's theme has changed.
[[nodiscard]] bool isThemeChange(const QEvent &event);

/// Makes links, and what is behind selected texts, so much darker or lighter that they can be read.
void makeReadable(QPalette &palette);

/// Lets a button's face be the ground of lists and fields, from which small icons stand out more.
template <typename Button>
void putOnGround(Button &button, const QPalette &surroundings)
{
    QPalette colours;
    colours.setColor(QPalette::Button, surroundings.color(QPalette::Base));
    button.setPalette(colours);
}
