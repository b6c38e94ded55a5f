#pragma once

#include "platform/DispatchQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Creates serial queues, through another maker, whose tasks wait while a gate is closed. The queue checks the gate
/// when a task's turn comes, and then runs all waiting tasks, in order, as long as the gate is open. So the code that
/// opens the gate must queue a task afterwards. Outlives its queues; `maker` must outlive it.
class GatedSerialQueueMaker final : public SerialQueueMaker {
public:
    using Gate = std::function<bool()>;

    explicit GatedSerialQueueMaker(SerialQueueMaker& maker);
    ~GatedSerialQueueMaker() override;

    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// `isOpen` is called on the queues' threads, before each task; without it the gate is open. Set before the first
    /// task.
    void setGate(Gate isOpen);

private:
    class Queue;
    SerialQueueMaker& maker_;
    const std::shared_ptr<Gate> gate_;
};

}  // namespace platform
