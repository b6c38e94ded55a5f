#pragma once

#include <string>

/// Finding the user's session bus without ever starting one.
namespace platform::qt {

/// Whether the environment names a session bus: by DBUS_SESSION_BUS_ADDRESS, or by a socket at $XDG_RUNTIME_DIR/bus.
bool hasSessionBusAddress();

/// Keeps every part of this process (Qt's accessibility and status icon, too) from starting a bus of its own where the
/// user has none. Before any part has looked for a bus.
void forbidStartingSessionBus();

/// The address that `forbidStartingSessionBus` leaves in the environment; what is launched should not see it.
extern const char* const kNoSessionBusAddress;

}  // namespace platform::qt
