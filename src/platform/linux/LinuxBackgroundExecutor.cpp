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
        // On Linux this concerns the calling thread alone.
        ::setpriority(PRIO_PROCESS, 0, lowestPriority);
        task();
        task = nullptr;
        // Notified under the lock: once it is given back, the executor may be gone.
        const std::lock_guard lock(mutex_);
        --runningCount_;
        ended_.notify_all();
    }).detach();
}

void LinuxBackgroundExecutor::sleep(std::chrono::duration<double> duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace platform
