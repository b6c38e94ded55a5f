#include "platform/BusySerialQueueMaker.h"

#include <atomic>
#include <cstddef>
#include <utility>

namespace platform {

struct BusySerialQueueMaker::State {
    explicit State(DispatchQueue& queue) : mainQueue(queue) {}

    static void begin(const std::shared_ptr<State>& state) {
        if (state->unfinished++ == 0) {
            state->mainQueue.async([state] { state->tell(); });
        }
    }

    void end() {
        --unfinished;
        tell();
    }

    void tell() {
        const bool busy = unfinished > 0;
        if (busy != told && handler) {
            handler(busy);
        }
        told = busy;
    }

    DispatchQueue& mainQueue;
    // Queued and not yet known to have ended; only the main thread decrements it.
    std::atomic<std::size_t> unfinished{0};
    BusyHandler handler;
    bool told = false;
};

class BusySerialQueueMaker::Queue final : public DispatchQueue {
public:
    Queue(std::unique_ptr<DispatchQueue> queue, std::shared_ptr<State> state)
        : state_(std::move(state)), queue_(std::move(queue)) {}

    void async(std::function<void()> task) override {
        State::begin(state_);
        queue_->async([state = state_, task = std::move(task)]() mutable {
            task();
            task = nullptr;
            state->mainQueue.async([state] { state->end(); });
        });
    }

private:
    const std::shared_ptr<State> state_;
    const std::unique_ptr<DispatchQueue> queue_;
};

BusySerialQueueMaker::BusySerialQueueMaker(SerialQueueMaker& maker, DispatchQueue& mainQueue)
    : maker_(maker), state_(std::make_shared<State>(mainQueue)) {}

BusySerialQueueMaker::~BusySerialQueueMaker() = default;

std::unique_ptr<DispatchQueue> BusySerialQueueMaker::makeSerialQueue(const std::string& label) {
    return std::make_unique<Queue>(maker_.makeSerialQueue(label), state_);
}

void BusySerialQueueMaker::setBusyHandler(BusyHandler handler) {
    state_->handler = std::move(handler);
}

void BusySerialQueueMaker::beginWork() {
    State::begin(state_);
}

void BusySerialQueueMaker::endWork() {
    state_->end();
}

bool BusySerialQueueMaker::isBusy() const {
    return state_->unfinished > 0;
}

}  // namespace platform
