#pragma once

#include <string>

namespace platform::qt {

/// Which of the toolkit's platforms a process should run on.
struct DisplayChoice {
    /// In the form that "-platform" takes, including fallbacks; empty if the user has chosen one through
    /// QT_QPA_PLATFORM.
    std::string platform;
    /// Why there is no display; empty if there is one.
    std::string trouble;
};

/// Finds a display that answers: first a Wayland compositor with layer surfaces, if this program can use them, then an
/// X server (even beside Wayland, because there windows can be placed), then any Wayland compositor if the toolkit has
/// its plug-in, else off-screen. Call before the application object exists.
DisplayChoice chooseDisplay();

}  // namespace platform::qt
