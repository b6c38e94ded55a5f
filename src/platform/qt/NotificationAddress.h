#pragma once

#include <QLatin1String>

namespace platform::qt {

/// The signal that carries every notification on the user's bus, with the parameters (s name, s object, a{sv}
/// userInfo). An empty object means none. Published: clients use it, and so do docs/meeting-clients.md and the bridge
/// of src/tools/obs-bridge, which cannot include this.
inline constexpr QLatin1String notificationPath("/org/recordconverter/NotificationCenter");
inline constexpr QLatin1String notificationInterface("org.recordconverter.NotificationCenter");
inline constexpr QLatin1String notificationSignal("Posted");

}  // namespace platform::qt
