#include "platform/linux/LinuxBackgroundExecutor.h"

#include <sys/resource.h>
#include <thread>
#include <utility>

namespace platform {

namespace {

constexpr int lowestPriority = 19;

}  // namespace

LinuxBackgroundExecutor::~LinuxBackgroundExecutor() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return runningCount_ == 0; });
}

void LinuxBackgroundExecutor::async(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        ++runningCount_;
    }
    std::thread([this, task = std::move(task)]() mutable {
        // On Linux this affects only the calling thread.
        ::setpriority(PRIO_PROCESS, 0, lowestPriority);
        task();
        task = nullptr;
        // Notifies while holding the lock: once it is released, the executor may be destroyed.
        const std::lock_guard lock(mutex_);
        --runningCount_;
        ended_.notify_all();
    }).detach();
}

void LinuxBackgroundExecutor::sleep(std::chrono::duration<double> duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace platform
