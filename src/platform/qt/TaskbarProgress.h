#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace platform::qt {

class PrivateConnection;

/// Progress on the application's entry in a taskbar or dock that listens to com.canonical.Unity.LauncherEntry, for work
/// that takes long. Shorter work, or work without a session bus, sends nothing. Main thread.
class TaskbarProgress final {
public:
    TaskbarProgress();
    ~TaskbarProgress();

    /// Work that has not ended after this time is long.
    static constexpr std::chrono::seconds longWork{5};

    /// `fraction` of `work` is done, 0 to 1. Another `work` restarts the clock; an empty one ends it.
    void show(const std::string& work, double fraction);

private:
    void send(double fraction, bool isVisible);

    std::string work_;
    std::chrono::steady_clock::time_point begun_;
    bool isShown_ = false;
    /// From the first long work on. A taskbar drops the progress when the connection closes.
    std::unique_ptr<PrivateConnection> connection_;
};

}  // namespace platform::qt
