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

/// A queue that runs its tasks only when the test asks for it, on the calling thread. Tasks may be queued from any
/// thread.
class FakeDispatchQueue : public platform::DispatchQueue {
public:
    void async(std::function<void()> task) override;

    std::size_t pendingCount() const;

    /// Waits until there is a task to run; false if none came within ten seconds.
    bool waitForTask();

    /// Runs the oldest task; false if there is none.
    bool runNext();

    /// Runs tasks, including those queued meanwhile, until none is left. Returns how many ran.
    std::size_t drain();

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
};

using FakeMainQueue = FakeDispatchQueue;

/// Creates fake queues and keeps each accessible to the test, even after its owner has released it.
class FakeSerialQueueMaker final : public platform::SerialQueueMaker {
public:
    struct Made {
        std::string label;
        std::shared_ptr<FakeDispatchQueue> queue;
    };

    std::unique_ptr<platform::DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// In the order of creation.
    const std::vector<Made>& made() const { return made_; }

    /// The queue created last. The test fails here if there is none.
    FakeDispatchQueue& last() const;

private:
    std::vector<Made> made_;
};

}  // namespace test
