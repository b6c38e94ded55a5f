#pragma once

#include "platform/ThreadSerialQueue.h"

#include <future>
#include <memory>
#include <string>
#include <utility>

namespace test {

/// Makes real serial queues whose first task waits until `open`, so that a test decides when the conversion thread
/// starts. One queue per maker.
class HeldSerialQueueMaker final : public platform::SerialQueueMaker {
public:
    std::unique_ptr<platform::DispatchQueue> makeSerialQueue(const std::string& label) override {
        auto queue = std::make_unique<platform::ThreadSerialQueue>(label);
        queue->async([opened = gate_.get_future().share()] { opened.wait(); });
        made_ = queue.get();
        return queue;
    }

    void open() {
        if (!std::exchange(isOpen_, true)) {
            gate_.set_value();
        }
    }

    /// Returns once every task queued so far has run.
    void settle() {
        std::promise<void> reached;
        made_->async([&reached] { reached.set_value(); });
        reached.get_future().wait();
    }

private:
    std::promise<void> gate_;
    bool isOpen_ = false;
    platform::DispatchQueue* made_ = nullptr;
};

}  // namespace test
