#pragma once

#include "platform/ProcessExitWatch.h"

#include <cstdint>
#include <functional>
#include <map>

namespace recordkeeping {

/// The application's process watch. Reports an exit only once everything that the process sent on the bus has been
/// delivered. Notifies its owner of every end, including that of a process that ended before it could be watched, which
/// the application's own guard never reports. Main thread.
class MeetingProcessWatch final : public platform::ProcessExitWatch {
public:
    using Task = std::function<void()>;
    /// Runs a task once everything that is on the bus now has been delivered; never inside the call.
    using Barrier = std::function<void(Task)>;
    using EndHandler = std::function<void(std::int32_t processId)>;

    /// `watch` outlives this object. It must report processes that it does not find to `noteGone`.
    MeetingProcessWatch(platform::ProcessExitWatch& watch, Barrier afterDelivery);

    /// Called with the id of each watched process after its exit has been reported, or when it turned out to have
    /// ended.
    void setEndHandler(EndHandler handler);

    void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) override;

    /// Watches the process for the end handler only, unless it is already watched.
    void watchIfUnwatched(std::int32_t processId);

    /// No process has this id.
    void noteGone(std::int32_t processId);

private:
    void end(std::int32_t processId);

    platform::ProcessExitWatch& watch_;
    const Barrier afterDelivery_;
    EndHandler ended_;
    /// Watches that have not reported yet, per process.
    std::map<std::int32_t, int> armed_;
};

}  // namespace recordkeeping
