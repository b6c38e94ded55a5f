#pragma once

#include "platform/DispatchQueue.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace test {

/// A queue that runs its tasks only when the test says so, on the thread that says so. Tasks may be put from any
/// thread.
class FakeDispatchQueue : public platform::DispatchQueue {
public:
    void async(std::function<void()> task) override;

    std::size_t pendingCount() const;

    /// Waits until a task is there to run; false when none came within ten seconds.
    bool waitForTask();

    /// Runs the oldest task; false when there is none.
    bool runNext();

    /// Runs tasks, those put meanwhile included, until none is left. Returns how many ran.
    std::size_t drain();

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
};

using FakeMainQueue = FakeDispatchQueue;

/// Hands out fake queues and keeps each within the test's reach, also after its owner has let go of it.
class FakeSerialQueueMaker final : public platform::SerialQueueMaker {
public:
    struct Made {
        std::string label;
        std::shared_ptr<FakeDispatchQueue> queue;
    };

    std::unique_ptr<platform::DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// In the order of making.
    const std::vector<Made>& made() const { return made_; }

    /// The queue made last. The test fails here when none was made.
    FakeDispatchQueue& last() const;

private:
    std::vector<Made> made_;
};

}  // namespace test
