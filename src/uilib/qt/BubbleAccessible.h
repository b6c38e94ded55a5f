#pragma once

namespace uilib::qt {

/// From here on screen readers find every bubble's window in the role of a notification, which they read out when it is
/// shown, without being sent there. Any number of times.
void announceAsNotifications();

}  // namespace uilib::qt
