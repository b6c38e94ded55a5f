#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// The processes of the machine, from the platform's process table. No instances, no state; any thread. Nothing in the
/// application uses it.
class KTRRunningProcesses {
public:
    using Value = std::variant<std::int32_t, std::uint32_t, std::string>;

    /// "processID" (signed), "processName" (short command name), and, only if the user database knows the user,
    /// "userID" (unsigned, effective) and "userName".
    using Record = std::map<std::string, Value>;

    KTRRunningProcesses() = delete;

    /// In the table's order; empty if the table cannot be read.
    static std::vector<Record> getBSDProcessList();

    /// Writes "path: " and the executable's path, one line per process, to standard output; omits processes whose path
    /// is unknown.
    static void printProcesses();
};

/// Ends the process with an assertion report unless `list` is non-null exactly when `error` is 0.
void requireListExactlyWithoutError(int error, const void* list);
