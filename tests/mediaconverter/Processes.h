#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace mediatest {

/// A process that a test has started and may kill; waited for in the end.
class Process {
public:
    /// Its standard output and error are thrown away.
    explicit Process(const std::vector<std::string>& command);
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }

    /// Sends the signal; nothing when it has ended.
    void signal(int number) const;

    /// Waits for its end: exit status, or 128 + signal.
    int wait();

private:
    pid_t id_ = -1;
    std::optional<int> status_;
};

/// The first child of the process that runs the worker program; none where there is none now.
std::optional<pid_t> workerOf(pid_t parent);

/// A line of /proc/PID/status without its name ("NoNewPrivs" gives "1"); empty when there is none.
std::string statusLine(pid_t process, const std::string& name);

/// Waits until the process is gone or a zombie; false after five seconds.
bool waitUntilGone(pid_t process);

}  // namespace mediatest
