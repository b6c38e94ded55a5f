#pragma once

#include <memory>
#include <string>

namespace ktrtrace {

/// The place of one process in the trace folder: "trace.log" for the first, "trace-2.log" for one that runs at the same
/// time, up to the fourth. No two processes write one file, so no line is ever torn and no rotation pulls a file away
/// from another. The place is this process's until the object goes or the process ends, however it ends.
class TraceSlot {
public:
    /// Makes the folder (0700) where it is missing. Null, with the reason in `trouble`, where the folder can't be used
    /// or every place is taken.
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

/// Opens the file for adding to it, made with mode 0600 where it is missing; -1, with errno set, where that can't be.
int openForAdding(const std::string& file);

/// `$XDG_STATE_HOME/record-converter`, or `~/.local/state/record-converter`; empty where neither is known.
std::string traceFolder();

}  // namespace ktrtrace
