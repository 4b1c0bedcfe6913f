#pragma once

#include <QColor>

#include <optional>

/// The program's only way of asking for a colour.
namespace ColourDialog {

/// Asks for a colour, beginning with `current`; blocks until the dialog closes. Nothing if cancelled.
[[nodiscard]] std::optional<QColor> select(const QColor &current);

} // namespace ColourDialog
