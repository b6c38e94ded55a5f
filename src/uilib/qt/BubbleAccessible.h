#pragma once

namespace uilib::qt {

/// From here on screen readers see the window of every bubble in the role of a notification, which they read out when
/// it appears, without navigating to it. May be called any number of times.
void announceAsNotifications();

}  // namespace uilib::qt
