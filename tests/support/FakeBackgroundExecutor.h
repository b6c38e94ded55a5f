#pragma once

#include "platform/BackgroundExecutor.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace test {

/// Runs its tasks when the test asks for it, on the test's thread. A task that sleeps gives control to the test
/// instead.
class FakeBackgroundExecutor final : public platform::BackgroundExecutor {
public:
    void async(std::function<void()> task) override { tasks_.push_back(std::move(task)); }

    void sleep(std::chrono::duration<double> duration) override {
        sleeps_.push_back(duration.count());
        if (onSleep_) {
            onSleep_();
        }
    }

    /// Called in place of each sleep.
    void setOnSleep(std::function<void()> onSleep) { onSleep_ = std::move(onSleep); }

    std::size_t pendingCount() const { return tasks_.size(); }

    /// Runs the oldest task to its end; false if there is none.
    bool runNext() {
        if (tasks_.empty()) {
            return false;
        }
        const auto task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
        return true;
    }

    /// Seconds, in order.
    const std::vector<double>& sleeps() const { return sleeps_; }

private:
    std::deque<std::function<void()>> tasks_;
    std::function<void()> onSleep_;
    std::vector<double> sleeps_;
};

}  // namespace test
