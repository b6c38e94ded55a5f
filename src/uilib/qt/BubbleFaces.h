#pragma once

#include <vector>

namespace uilib::qt {

/// The ways in which a bubble can reach the user.
enum class BubbleFace {
    /// A window of ours that the desktop leaves where it belongs.
    window,
    /// A desktop notification.
    notification,
    /// A window that the window manager never gets to know.
    unmanagedWindow,
    /// One sentence in the system log.
    sentence,
};

/// What the session can do about windows.
struct Session {
    enum class Display { none, x11, wayland };

    Display display = Display::none;
    /// Windows stand where they ask to stand, without the keyboard.
    bool canPlaceWindows = false;
};

/// What a bubble tries, best first; never empty.
std::vector<BubbleFace> facesFor(const Session& session);

/// Asks the display. Needs the application object.
Session currentSession();

}  // namespace uilib::qt
