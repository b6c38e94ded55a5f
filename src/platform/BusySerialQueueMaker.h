#pragma once

#include "platform/DispatchQueue.h"

#include <functional>
#include <memory>

namespace platform {

/// Creates serial queues through another maker, and knows whether any of them has work. Outlives its queues.
class BusySerialQueueMaker final : public SerialQueueMaker {
public:
    using BusyHandler = std::function<void(bool busy)>;

    /// `mainQueue` reports that a task has ended, after everything that the task itself has queued there.
    BusySerialQueueMaker(SerialQueueMaker& maker, DispatchQueue& mainQueue);
    ~BusySerialQueueMaker() override;

    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// Called on the main queue when the first task has been queued and when the last one has ended; a task that queues
    /// the next one leaves no gap. Set before the first task.
    void setBusyHandler(BusyHandler handler);

    /// Counts as a task: work that a task has started and that may outlast it. Any thread.
    void beginWork();

    /// Such work has ended. Main thread.
    void endWork();

    /// True from the moment a task is queued until everything it has put on the main queue has run. Main thread.
    bool isBusy() const;

private:
    struct State;
    class Queue;
    SerialQueueMaker& maker_;
    const std::shared_ptr<State> state_;
};

}  // namespace platform
