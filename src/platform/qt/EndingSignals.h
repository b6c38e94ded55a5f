#pragma once

#include <functional>
#include <memory>

namespace platform::qt {

/// Turns the signals that ask a process to end (SIGTERM, SIGINT, SIGHUP) into one call on the main thread. A second
/// signal of the same kind ends the process at once, in case the orderly end hangs. A signal that the launcher has set
/// to be ignored stays ignored. One object per process; lives until the process ends. Costs nothing while no signal
/// comes.
class EndingSignals final {
public:
    explicit EndingSignals(std::function<void()> asked);
    ~EndingSignals();

    /// Whether a signal has arrived; true from that moment, which is before the call on the main thread. Any thread.
    static bool haveCome();

private:
    struct Source;
    const std::unique_ptr<Source> source_;
};

}  // namespace platform::qt
