#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// Identifies one process uniquely, even after its id has been reused and after a reboot.
struct ProcessIdentity {
    std::int32_t processId = 0;
    /// In the kernel's ticks since the machine started; 0 if unknown.
    std::uint64_t startTime = 0;
    /// Identifies the boot of the machine; empty if unknown.
    std::string bootId;

    friend bool operator==(const ProcessIdentity&, const ProcessIdentity&) = default;
};

/// Finds the identities of processes. Any thread.
class ProcessIdentities {
public:
    virtual ~ProcessIdentities() = default;

    /// Has start time 0 if no process has that id.
    virtual ProcessIdentity identityOf(std::int32_t processId) const = 0;

    /// Whether exactly this process is alive. One that is ending, or has ended and was not waited for, is not.
    virtual bool isAlive(const ProcessIdentity& identity) const = 0;
};

}  // namespace platform
