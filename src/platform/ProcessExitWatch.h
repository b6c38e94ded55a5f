#pragma once

#include <cstdint>
#include <functional>

namespace platform {

/// Tells when processes end, without polling them.
class ProcessExitWatch {
public:
    virtual ~ProcessExitWatch() = default;

    /// Calls `exited` with `processId` once, on the main run loop, when that process ends. A watch can't be taken
    /// back; each call arms its own. A process that is gone already, or an id that names none (0 and negative ones
    /// included), is silently never reported. Main thread.
    virtual void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) = 0;
};

}  // namespace platform
