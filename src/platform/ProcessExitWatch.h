#pragma once

#include <cstdint>
#include <functional>

namespace platform {

/// Reports when processes end, without polling them.
class ProcessExitWatch {
public:
    virtual ~ProcessExitWatch() = default;

    /// Calls `exited` with `processId` once, on the main run loop, when that process ends. A watch cannot be cancelled;
    /// each call arms its own. If the process has already ended, or no process has that id (0 and negative ids
    /// included), `exited` is never called and no error is reported. Main thread.
    virtual void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) = 0;
};

}  // namespace platform
