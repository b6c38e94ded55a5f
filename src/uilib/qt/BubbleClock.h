#pragma once

#include <QTimer>
#include <chrono>
#include <functional>

namespace uilib::qt {

/// The time that a bubble is still to be shown. It stands still while it is held, and at least three seconds are left
/// when it is let go. Costs nothing while it stands still. Main thread.
class BubbleClock final {
public:
    explicit BubbleClock(std::function<void()> ranOut);

    /// Starts with `time` to go; it runs unless it is held.
    void start(std::chrono::milliseconds time);

    /// For good.
    void stop();

    void setHeld(bool held);

private:
    QTimer timer_;
    bool started_ = false;
    bool held_ = false;
    std::chrono::milliseconds left_{0};
};

}  // namespace uilib::qt
