#pragma once

#include <QString>

/// The program's only way of telling the user something.
namespace MessageBox {

/// Shows a text with the button Ok; blocks until it is closed.
void inform(const QString &title, const QString &text);

} // namespace MessageBox
