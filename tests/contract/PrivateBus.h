#pragma once

#include <string>
#include <sys/types.h>

namespace test {

/// A bus for this process and its children alone, named in the environment as the session's and as the system's.
/// Nothing is started on it by a name: what a test wants there, it brings. The bus library looks there only once a
/// process, so a process has one such bus for itself; others are for its children. Ends with this object.
class PrivateBus final {
public:
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Ends the bus under its users.
    void stop();

private:
    pid_t daemon_ = -1;
    std::string socket_;
};

}  // namespace test
