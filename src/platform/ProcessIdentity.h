#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// What tells one process from every other, also after its id has been given to another and after the machine has been
/// started again.
struct ProcessIdentity {
    std::int32_t processId = 0;
    /// In the kernel's ticks since the machine started; 0 when it is unknown.
    std::uint64_t startTime = 0;
    /// Of the run of the machine; empty when it is unknown.
    std::string bootId;

    friend bool operator==(const ProcessIdentity&, const ProcessIdentity&) = default;
};

/// Finds the identities of processes. Any thread.
class ProcessIdentities {
public:
    virtual ~ProcessIdentities() = default;

    /// Start time 0 for an id that names no process.
    virtual ProcessIdentity identityOf(std::int32_t processId) const = 0;

    /// Whether the very process lives. One that is ending, or has ended and was not waited for, does not.
    virtual bool isAlive(const ProcessIdentity& identity) const = 0;
};

}  // namespace platform
