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

/// The kernel's process table, read as kernels provide it: the caller asks for the size, allocates a buffer, and asks
/// for the content, which may have outgrown the buffer meanwhile. Error codes are the system's (0 for success). Any
/// thread.
class ProcessTable {
public:
    virtual ~ProcessTable() = default;

    /// Sets `bytes` to the buffer size that the table needs now.
    virtual int size(std::size_t& bytes) const = 0;

    /// Fills `room`, which holds `bytes` bytes, with whole records in the table's order and sets `bytes` to the size
    /// written. ENOMEM if the table no longer fits.
    virtual int read(KernelProcess* room, std::size_t& bytes) const = 0;

    /// With null: the bytes that the ids of all processes take. With a buffer of `bytes` bytes: fills as much of it as
    /// it can. Returns the bytes needed or written.
    virtual std::size_t listProcessIds(std::int32_t* room, std::size_t bytes) const = 0;

    /// Full path of the executable; empty if unknown.
    virtual std::string executablePath(std::int32_t processId) const = 0;

    /// The login name from the user database; absent if the database does not know the user.
    virtual std::optional<std::string> loginName(std::uint32_t userId) const = 0;

    /// The table that the provider installed; an empty one by default.
    static const ProcessTable& standard();

    /// Installs `table`, which must outlive every use; null removes it.
    static void setStandard(const ProcessTable* table);
};

}  // namespace platform
