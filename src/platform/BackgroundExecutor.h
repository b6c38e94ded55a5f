#pragma once

#include <chrono>
#include <functional>

namespace platform {

/// Runs long tasks beside everything else, at the lowest priority.
class BackgroundExecutor {
public:
    virtual ~BackgroundExecutor() = default;

    /// Runs `task` on a background thread and returns at once; tasks may run side by side. Any thread.
    virtual void async(std::function<void()> task) = 0;

    /// Lets the task that calls it sleep for `duration` (seconds).
    virtual void sleep(std::chrono::duration<double> duration) = 0;
};

}  // namespace platform
