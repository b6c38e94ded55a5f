#pragma once

#include "platform/ProcessExitWatch.h"

#include <utility>

namespace platform {

class RunLoop;

/// Exits by process descriptors (pidfd_open) that the run loop polls: no timer, no wake-up until a process ends. A
/// process that has ended but was not yet waited for by its parent counts as ending now. A refusal other than "no such
/// process" (out of descriptors, say) is told to the system log.
class PidfdProcessExitWatch final : public ProcessExitWatch {
public:
    /// `runLoop` outlives every armed watch.
    explicit PidfdProcessExitWatch(RunLoop& runLoop);

    void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) override;

    /// Called from inside `watch` with an id that names no process, or no longer any.
    void setGoneHandler(std::function<void(std::int32_t)> handler) { gone_ = std::move(handler); }

private:
    RunLoop& runLoop_;
    std::function<void(std::int32_t)> gone_;
};

}  // namespace platform
