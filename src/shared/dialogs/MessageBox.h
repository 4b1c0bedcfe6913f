#pragma once

#include <QString>

/// The program's only way of telling the user something, or of asking for a yes.
namespace MessageBox {

/// Shows a text with the button Ok; blocks until it is closed.
void inform(const QString &title, const QString &text);

/// The same with a second button; true if the user chose that one.
[[nodiscard]] bool informWithAction(const QString &title, const QString &text, const QString &action);

/// Asks a question that No answers unless the user says Yes.
[[nodiscard]] bool confirm(const QString &text, const QString &informativeText);

} // namespace MessageBox
