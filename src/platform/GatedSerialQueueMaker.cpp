#include "platform/GatedSerialQueueMaker.h"

#include <deque>
#include <utility>

namespace platform {

class GatedSerialQueueMaker::Queue final : public DispatchQueue {
public:
    Queue(std::unique_ptr<DispatchQueue> queue, std::shared_ptr<const Gate> isOpen)
        : waiting_(std::make_shared<Tasks>()), isOpen_(std::move(isOpen)), queue_(std::move(queue)) {}

    void async(std::function<void()> task) override {
        queue_->async([waiting = waiting_, isOpen = isOpen_, task = std::move(task)]() mutable {
            waiting->push_back(std::move(task));
            runWaiting(*waiting, *isOpen);
        });
    }

private:
    using Tasks = std::deque<std::function<void()>>;

    static void runWaiting(Tasks& waiting, const Gate& isOpen) {
        while (!waiting.empty() && (!isOpen || isOpen())) {
            const auto task = std::move(waiting.front());
            waiting.pop_front();
            task();
        }
    }

    // Used only by the queue's own tasks.
    const std::shared_ptr<Tasks> waiting_;
    const std::shared_ptr<const Gate> isOpen_;
    const std::unique_ptr<DispatchQueue> queue_;
};

GatedSerialQueueMaker::GatedSerialQueueMaker(SerialQueueMaker& maker)
    : maker_(maker), gate_(std::make_shared<Gate>()) {}

GatedSerialQueueMaker::~GatedSerialQueueMaker() = default;

std::unique_ptr<DispatchQueue> GatedSerialQueueMaker::makeSerialQueue(const std::string& label) {
    return std::make_unique<Queue>(maker_.makeSerialQueue(label), gate_);
}

void GatedSerialQueueMaker::setGate(Gate isOpen) {
    *gate_ = std::move(isOpen);
}

}  // namespace platform
