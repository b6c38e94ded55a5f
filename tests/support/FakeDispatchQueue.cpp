#include "support/FakeDispatchQueue.h"

#include "support/Sequence.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace test {

namespace {

// The object that an owner gets: a handle of the shared queue.
class QueueHandle final : public platform::DispatchQueue {
public:
    explicit QueueHandle(std::shared_ptr<FakeDispatchQueue> queue) : queue_(std::move(queue)) {}

    void async(std::function<void()> task) override { queue_->async(std::move(task)); }

private:
    const std::shared_ptr<FakeDispatchQueue> queue_;
};

}  // namespace

void FakeDispatchQueue::async(std::function<void()> task) {
    Sequence::add("queue: task");
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    changed_.notify_all();
}

bool FakeDispatchQueue::waitForTask() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return !tasks_.empty(); });
}

std::size_t FakeDispatchQueue::pendingCount() const {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
}

bool FakeDispatchQueue::runNext() {
    std::function<void()> task;
    {
        const std::lock_guard lock(mutex_);
        if (tasks_.empty()) {
            return false;
        }
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
    return true;
}

std::size_t FakeDispatchQueue::drain() {
    std::size_t count = 0;
    while (runNext()) {
        ++count;
    }
    return count;
}

std::unique_ptr<platform::DispatchQueue> FakeSerialQueueMaker::makeSerialQueue(const std::string& label) {
    Sequence::add("serial queue: " + label);
    made_.push_back({label, std::make_shared<FakeDispatchQueue>()});
    return std::make_unique<QueueHandle>(made_.back().queue);
}

FakeDispatchQueue& FakeSerialQueueMaker::last() const {
    if (made_.empty()) {
        throw std::logic_error("no serial queue was made");
    }
    return *made_.back().queue;
}

}  // namespace test
