#pragma once

#include <QProcessEnvironment>

/// Finding the user's session bus without ever starting one, and outliving it.
namespace platform::qt {

/// Whether the environment names a session bus: by DBUS_SESSION_BUS_ADDRESS, or by a socket at $XDG_RUNTIME_DIR/bus.
bool hasSessionBusAddress();

/// Keeps every part of this process (Qt's accessibility and status icon, too) from starting a bus of its own where the
/// user has none. Before any part has looked for a bus.
void forbidStartingSessionBus();

/// Keeps the bus library from ending this process when a bus goes away. Before any part has used a bus.
void outliveLostBus();

/// Takes what this process has set for itself out of the environment of what it launches.
void forgetBusSettingsIn(QProcessEnvironment& environment);

}  // namespace platform::qt
