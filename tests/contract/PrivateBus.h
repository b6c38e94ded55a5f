#pragma once

#include <string>
#include <sys/types.h>

namespace test {

/// A bus for this process and its children only, set in the environment as the session bus and the system bus. It
/// starts no services: a test brings those it needs. The bus library reads the environment only once per process, so a
/// process has one such bus for itself; further ones are for its children. The destructor ends the bus.
class PrivateBus final {
public:
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Ends the bus while it is in use.
    void stop();

private:
    pid_t daemon_ = -1;
    std::string socket_;
};

}  // namespace test
