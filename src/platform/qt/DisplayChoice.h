#pragma once

#include <string>

namespace platform::qt {

/// Which of the toolkit's platforms a process should run on.
struct DisplayChoice {
    /// As "-platform" takes it, fallbacks included; empty: the user has chosen one by QT_QPA_PLATFORM.
    std::string platform;
    /// Why there is no display; empty when there is one.
    std::string trouble;
};

/// Looks for a display that really answers: an X server first (also one beside Wayland, where windows can be placed),
/// then a Wayland compositor if the toolkit has its plug-in, else off-screen. Before the application object exists.
DisplayChoice chooseDisplay();

}  // namespace platform::qt
