#pragma once

#include "platform/DispatchQueue.h"

#include <functional>
#include <memory>

namespace platform {

/// Makes serial queues through another maker, and knows whether any of them has work. Outlives its queues.
class BusySerialQueueMaker final : public SerialQueueMaker {
public:
    using BusyHandler = std::function<void(bool busy)>;

    /// `mainQueue` carries the news of an ended task, behind all that the task itself has put there.
    BusySerialQueueMaker(SerialQueueMaker& maker, DispatchQueue& mainQueue);
    ~BusySerialQueueMaker() override;

    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// Called on the main queue when the first task has been put and when the last one has ended; a task that puts the
    /// next one leaves no gap. Set before the first task.
    void setBusyHandler(BusyHandler handler);

    /// Counts as a task: work that a task has begun and that may go on after it. Any thread.
    void beginWork();

    /// Such work has ended. Main thread.
    void endWork();

    /// From the moment when a task is put until what it has put on the main queue has run there. Main thread.
    bool isBusy() const;

private:
    struct State;
    class Queue;
    SerialQueueMaker& maker_;
    const std::shared_ptr<State> state_;
};

}  // namespace platform
