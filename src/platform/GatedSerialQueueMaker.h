#pragma once

#include "platform/DispatchQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Makes serial queues through another maker, whose tasks wait while a gate is closed. A task whose turn has come at a
/// closed gate runs, in order, at the next task's turn with an open one: whoever opens the gate puts a task afterwards.
/// Outlives its queues.
class GatedSerialQueueMaker final : public SerialQueueMaker {
public:
    using Gate = std::function<bool()>;

    explicit GatedSerialQueueMaker(SerialQueueMaker& maker);
    ~GatedSerialQueueMaker() override;

    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

    /// `isOpen` is asked on the queues' threads, before each task; open without one. Set before the first task.
    void setGate(Gate isOpen);

private:
    struct State;
    class Queue;
    SerialQueueMaker& maker_;
    const std::shared_ptr<State> state_;
};

}  // namespace platform
