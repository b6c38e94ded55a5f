#pragma once

#include <vector>

namespace uilib::qt {

/// The ways in which a bubble can reach the user.
enum class BubbleFace {
    /// A window of ours that the desktop leaves where it was put.
    window,
    /// A desktop notification.
    notification,
    /// A window that bypasses the window manager.
    unmanagedWindow,
    /// One sentence in the system log.
    sentence,
};

/// What the session supports for windows.
struct Session {
    enum class Display { none, x11, wayland };

    Display display = Display::none;
    /// Windows appear where they ask to be, without the keyboard focus.
    bool canPlaceWindows = false;
};

/// The faces that a bubble tries, best first; never empty.
std::vector<BubbleFace> facesFor(const Session& session);

/// Queries the display. Needs the application object.
Session currentSession();

}  // namespace uilib::qt
