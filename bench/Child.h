#pragma once

#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <vector>

namespace bench {

/// A program that the bench runs, off-screen. Ends with the object.
class Child final {
public:
    explicit Child(const std::vector<std::string>& command);
    ~Child();

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    bool isRunning();

    /// SIGTERM, then waits.
    void end();

    /// Waits for it to end by itself.
    void wait();

    /// KiB that only this process holds.
    double privateKiB() const;

    /// Of these, KiB that it has written: the kernel can't take them away as it does a library's pages.
    double writtenKiB() const;

    /// How often its threads went to sleep and were woken, and the CPU seconds they used, so far.
    struct Activity {
        unsigned long wakeUps = 0;
        double cpuSeconds = 0;
    };
    Activity activity() const;

private:
    double sumOfPages(const std::set<std::string>& kinds) const;

    pid_t pid_ = -1;
};

/// CPU seconds of all children, and theirs, that have ended and been waited for.
double cpuSecondsOfEndedChildren();

}  // namespace bench
