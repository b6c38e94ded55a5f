#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// The processes of the machine, from the platform's process table. No instances, no state; any thread. Nothing in the
/// application asks.
class KTRRunningProcesses {
public:
    using Value = std::variant<std::int32_t, std::uint32_t, std::string>;

    /// "processID" (signed), "processName" (short command name), and, only for a user that the user database knows,
    /// "userID" (unsigned, effective) and "userName".
    using Record = std::map<std::string, Value>;

    KTRRunningProcesses() = delete;

    /// In the table's order; empty when the table can't be read.
    static std::vector<Record> getBSDProcessList();

    /// Writes "path: " and the executable's path, a line a process, to standard output; leaves out those whose path
    /// can't be known.
    static void printProcesses();
};

/// Ends the process with an assertion report unless a list is there exactly when there was no error.
void requireListExactlyWithoutError(int error, const void* list);
