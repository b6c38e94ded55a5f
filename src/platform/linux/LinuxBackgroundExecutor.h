#pragma once

#include "platform/BackgroundExecutor.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace platform {

/// Threads of the lowest scheduling priority, one a task.
class LinuxBackgroundExecutor final : public BackgroundExecutor {
public:
    LinuxBackgroundExecutor() = default;

    /// Waits until every task has ended; whoever put one that goes on must have told it to end. Not from a task.
    ~LinuxBackgroundExecutor() override;

    LinuxBackgroundExecutor(const LinuxBackgroundExecutor&) = delete;
    LinuxBackgroundExecutor& operator=(const LinuxBackgroundExecutor&) = delete;

    void async(std::function<void()> task) override;
    void sleep(std::chrono::duration<double> duration) override;

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    std::size_t runningCount_ = 0;
};

}  // namespace platform
