#pragma once

#include <chrono>
#include <functional>

namespace platform {

/// Runs long tasks in the background, at the lowest priority.
class BackgroundExecutor {
public:
    virtual ~BackgroundExecutor() = default;

    /// Runs `task` on a background thread and returns at once; tasks may run concurrently. Any thread.
    virtual void async(std::function<void()> task) = 0;

    /// Suspends the calling task for `duration` (seconds).
    virtual void sleep(std::chrono::duration<double> duration) = 0;
};

}  // namespace platform
