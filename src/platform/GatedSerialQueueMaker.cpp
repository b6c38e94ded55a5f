#include "platform/GatedSerialQueueMaker.h"

#include <deque>
#include <utility>

namespace platform {

struct GatedSerialQueueMaker::State {
    Gate isOpen;
};

class GatedSerialQueueMaker::Queue final : public DispatchQueue {
public:
    Queue(std::unique_ptr<DispatchQueue> queue, std::shared_ptr<State> state)
        : waiting_(std::make_shared<Tasks>()), state_(std::move(state)), queue_(std::move(queue)) {}

    void async(std::function<void()> task) override {
        queue_->async([waiting = waiting_, state = state_, task = std::move(task)]() mutable {
            waiting->push_back(std::move(task));
            runWaiting(*waiting, *state);
        });
    }

private:
    using Tasks = std::deque<std::function<void()>>;

    static void runWaiting(Tasks& waiting, const State& state) {
        while (!waiting.empty() && (!state.isOpen || state.isOpen())) {
            const auto task = std::move(waiting.front());
            waiting.pop_front();
            task();
        }
    }

    // Only the queue's own tasks touch it.
    const std::shared_ptr<Tasks> waiting_;
    const std::shared_ptr<State> state_;
    const std::unique_ptr<DispatchQueue> queue_;
};

GatedSerialQueueMaker::GatedSerialQueueMaker(SerialQueueMaker& maker)
    : maker_(maker), state_(std::make_shared<State>()) {}

GatedSerialQueueMaker::~GatedSerialQueueMaker() = default;

std::unique_ptr<DispatchQueue> GatedSerialQueueMaker::makeSerialQueue(const std::string& label) {
    return std::make_unique<Queue>(maker_.makeSerialQueue(label), state_);
}

void GatedSerialQueueMaker::setGate(Gate isOpen) {
    state_->isOpen = std::move(isOpen);
}

}  // namespace platform
