#pragma once

#include <memory>
#include <string>

namespace ktrtrace {

/// The slot of one process in the trace folder: "trace.log" for the first, "trace-2.log" for one that runs at the same
/// time, up to the fourth. No two processes write one file, so no line is ever torn, and no rotation moves a file that
/// another process writes. The process keeps the slot until the object is destroyed or the process ends.
class TraceSlot {
public:
    /// Creates the folder (0700) if it is missing. Null, with the reason in `trouble`, if the folder cannot be used or
    /// every slot is taken.
    static std::unique_ptr<TraceSlot> taken(const std::string& folder, std::string& trouble);

    ~TraceSlot();

    TraceSlot(const TraceSlot&) = delete;
    TraceSlot& operator=(const TraceSlot&) = delete;

    /// Full path of the file to write.
    const std::string& file() const { return file_; }

private:
    TraceSlot(std::string file, int lock) : file_(std::move(file)), lock_(lock) {}

    const std::string file_;
    const int lock_;
};

/// Opens the file for appending, creating it with mode 0600 if it is missing; -1, with errno set, on failure.
int openForAdding(const std::string& file);

/// `$XDG_STATE_HOME/record-converter`, or `~/.local/state/record-converter`; empty if neither is known.
std::string traceFolder();

}  // namespace ktrtrace
