#pragma once

#include "platform/BackgroundExecutor.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace platform {

/// Threads of the lowest scheduling priority, one per task.
class LinuxBackgroundExecutor final : public BackgroundExecutor {
public:
    LinuxBackgroundExecutor() = default;

    /// Waits until every task has ended; the caller must have told endless tasks to end. Do not call from a task.
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
