#pragma once

#include <QByteArray>
#include <QString>

class QObject;

/// colord, a service on the system's message bus that knows the profiles of screens, under Wayland too. Both
/// functions wait for the bus: not for the GUI thread.
namespace Colord {

/// The ICC profile of a screen; empty if the service names none, is not there, or takes more than a second.
/// @param screen its name, as Qt gives it
[[nodiscard]] QByteArray screenProfile(const QString &screen);

/// Calls a slot without parameters, on its object's thread, whenever screens or profiles change.
void follow(QObject &receiver, const char *slot);

} // namespace Colord
