#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace platform::qt {

/// Progress on the application's entry in a taskbar or dock that listens to com.canonical.Unity.LauncherEntry, for work
/// that takes long. Nothing is sent for shorter work, nor without a session bus. Main thread.
class TaskbarProgress final {
public:
    /// Work that has not ended by then is long.
    static constexpr std::chrono::seconds longWork{5};

    /// `fraction` of `work` is done, 0 to 1. Another `work` starts the clock again; an empty one ends it.
    void show(const std::string& work, double fraction);

private:
    void send(double fraction, bool isVisible);

    std::string work_;
    std::chrono::steady_clock::time_point begun_;
    bool isShown_ = false;
};

}  // namespace platform::qt
