#pragma once

#include "platform/ProcessExitWatch.h"

#include <utility>

namespace platform {

class RunLoop;

/// Watches exits through process descriptors (pidfd_open) that the run loop polls: no timer, no wake-up until a process
/// ends. A process that has ended but has not been waited for by its parent counts as ending now. A failure other than
/// "no such process" (such as too many open descriptors) is written to the system log.
class PidfdProcessExitWatch final : public ProcessExitWatch {
public:
    /// `runLoop` outlives every armed watch.
    explicit PidfdProcessExitWatch(RunLoop& runLoop);

    void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) override;

    /// `handler` is called from inside `watch` if the id names no process, or no longer does.
    void setGoneHandler(std::function<void(std::int32_t)> handler) { gone_ = std::move(handler); }

private:
    RunLoop& runLoop_;
    std::function<void(std::int32_t)> gone_;
};

}  // namespace platform
