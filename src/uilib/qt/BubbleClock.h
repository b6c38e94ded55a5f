#pragma once

#include <QTimer>
#include <chrono>
#include <functional>

namespace uilib::qt {

/// The remaining display time of a bubble. It pauses while it is held, and at least three seconds are left when it is
/// released. Costs nothing while paused. Main thread.
class BubbleClock final {
public:
    explicit BubbleClock(std::function<void()> ranOut);

    /// Starts with `time` left; runs unless it is held.
    void start(std::chrono::milliseconds time);

    /// Stops for good.
    void stop();

    void setHeld(bool held);

private:
    QTimer timer_;
    bool started_ = false;
    bool held_ = false;
    std::chrono::milliseconds left_{0};
};

}  // namespace uilib::qt
