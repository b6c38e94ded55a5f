#pragma once

#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <vector>

namespace bench {

/// A program that the bench runs, off-screen. The destructor ends it.
class Child final {
public:
    explicit Child(const std::vector<std::string>& command);
    ~Child();

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    bool isRunning();

    /// Sends SIGTERM and waits.
    void end();

    /// Waits until it ends by itself.
    void wait();

    /// KiB that no other process shares.
    double privateKiB() const;

    /// The part of these, in KiB, that it has written: the kernel cannot evict it like a library's pages.
    double writtenKiB() const;

    /// How often its threads have been woken, and the CPU seconds they have used, so far.
    struct Activity {
        unsigned long wakeUps = 0;
        double cpuSeconds = 0;
    };
    Activity activity() const;

private:
    double sumOfPages(const std::set<std::string>& kinds) const;

    pid_t pid_ = -1;
};

/// CPU seconds of all children, and their children, that have ended and been waited for.
double cpuSecondsOfEndedChildren();

}  // namespace bench
