#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// A repeating timer on a run loop. The run loop keeps it alive until it is invalidated.
class Timer {
public:
    virtual ~Timer() = default;

    /// Stops the timer for good; once this has returned on the run loop's thread, there are no more calls. Any thread.
    virtual void invalidate() = 0;

    /// True until invalidated. Any thread.
    virtual bool isValid() const = 0;
};

/// The main thread's event loop, as far as the application uses it.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    /// Calls `fire` on the loop's thread every `interval` (seconds), the first time one interval from now. Call on the
    /// loop's thread. Never null.
    virtual std::shared_ptr<Timer> scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                          std::function<void()> fire) = 0;

    /// Calls `readable` once on the loop's thread, the first time `descriptor` can be read, then removes and closes the
    /// descriptor. The loop owns the descriptor from here on; waiting uses no processor time. Call on the loop's
    /// thread.
    virtual void addOneShotReadSource(int descriptor, std::function<void()> readable) = 0;
};

}  // namespace platform
