#pragma once

#include <cstdint>

namespace platform {

/// The applications of the logged-in user.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;

    /// Whether the user runs an application with this process id now. False for processes of other users, for unused
    /// ids, and for a process that has ended even if its parent has not waited for it yet. Any thread.
    virtual bool isRunning(std::int32_t processId) const = 0;
};

}  // namespace platform
