#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace mediatest {

/// A process that a test starts and may kill; the destructor waits for it.
class Process {
public:
    /// Discards its standard output and error.
    explicit Process(const std::vector<std::string>& command);
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }

    /// Sends the signal; does nothing if the process has ended.
    void signal(int number) const;

    /// Waits for its end and returns the exit status, or 128 + signal.
    int wait();

private:
    pid_t id_ = -1;
    std::optional<int> status_;
};

/// The first child of the process that runs the worker program; none if there is none now.
std::optional<pid_t> workerOf(pid_t parent);

/// The value of a line in /proc/PID/status ("NoNewPrivs" gives "1"); empty if there is none.
std::string statusLine(pid_t process, const std::string& name);

/// Waits until the process is gone or a zombie; false after five seconds.
bool waitUntilGone(pid_t process);

/// Whether this process has a child, alive or a zombie. A zombie is reaped.
bool hasChild();

}  // namespace mediatest
