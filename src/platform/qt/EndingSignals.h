#pragma once

#include <functional>
#include <memory>

namespace platform::qt {

/// Turns the signals that ask a process to end (SIGTERM, SIGINT, SIGHUP) into one call on the main thread. A second
/// signal of the same kind ends the process at once, in case the orderly way hangs. A signal that the launcher made
/// ignored stays ignored. One object a process; lives until the process ends. Costs nothing while no signal comes.
class EndingSignals final {
public:
    explicit EndingSignals(std::function<void()> asked);
    ~EndingSignals();

    /// Whether a signal has come, from the very moment of it: earlier than the call. Any thread.
    static bool haveCome();

private:
    struct Source;
    const std::unique_ptr<Source> source_;
};

}  // namespace platform::qt
