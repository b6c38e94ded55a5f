#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// One record of the kernel's process table.
struct KernelProcess {
    std::int32_t processId;
    /// Short command name, NUL-terminated.
    std::array<char, 17> command;
    std::uint32_t effectiveUserId;
};

/// The kernel's process table, handed out as kernels do: one asks for its size, makes room, and asks for its content,
/// which may have outgrown the room meanwhile. Error codes are the system's (0 for success). Any thread.
class ProcessTable {
public:
    virtual ~ProcessTable() = default;

    /// Sets `bytes` to the room that the table needs now.
    virtual int size(std::size_t& bytes) const = 0;

    /// Fills `room`, which holds `bytes` bytes, with whole records in the table's order and sets `bytes` to what they
    /// take. ENOMEM when the table no longer fits.
    virtual int read(KernelProcess* room, std::size_t& bytes) const = 0;

    /// With null: how many bytes the ids of all processes take. With room for `bytes` bytes: fills it as far as it
    /// goes. Returns the bytes needed or filled.
    virtual std::size_t listProcessIds(std::int32_t* room, std::size_t bytes) const = 0;

    /// Full path of what the process executes; empty when it can't be known.
    virtual std::string executablePath(std::int32_t processId) const = 0;

    /// The login name by the user database; absent for a user that it does not know.
    virtual std::optional<std::string> loginName(std::uint32_t userId) const = 0;

    /// The table that the provider installed; until then an empty one.
    static const ProcessTable& standard();

    /// Installs `table`, which must outlive every use; null takes it back.
    static void setStandard(const ProcessTable* table);
};

}  // namespace platform
