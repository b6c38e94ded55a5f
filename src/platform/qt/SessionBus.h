#pragma once

#include <QProcessEnvironment>

/// Finding the user's session bus without ever starting one, and surviving its loss.
namespace platform::qt {

/// Whether the environment names a session bus: through DBUS_SESSION_BUS_ADDRESS, or through a socket at
/// $XDG_RUNTIME_DIR/bus.
bool hasSessionBusAddress();

/// Keeps every part of this process (including Qt's accessibility and status icon) from starting a bus of its own if
/// the user has none. Call before any part has looked for a bus.
void forbidStartingSessionBus();

/// Keeps the bus library from ending this process when a bus is lost. Call before any part has used a bus.
void outliveLostBus();

/// Removes what this process has set for itself from the environment of programs that it launches.
void forgetBusSettingsIn(QProcessEnvironment& environment);

}  // namespace platform::qt
