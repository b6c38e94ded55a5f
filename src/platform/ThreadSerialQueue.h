#pragma once

#include "platform/DispatchQueue.h"

#include <memory>
#include <string>
#include <thread>

namespace platform {

/// A serial queue on a thread of its own, which starts with the first task and sleeps while there are none.
class ThreadSerialQueue final : public DispatchQueue {
public:
    explicit ThreadSerialQueue(std::string label);

    /// Runs the tasks that are already queued, then ends the thread. If called from a task of this queue, or from the
    /// destructor of what a task held, it returns first: the thread runs the rest and then ends.
    ~ThreadSerialQueue() override;

    ThreadSerialQueue(const ThreadSerialQueue&) = delete;
    ThreadSerialQueue& operator=(const ThreadSerialQueue&) = delete;

    void async(std::function<void()> task) override;

private:
    struct State;

    /// Shared with the thread, which may outlive the queue.
    const std::shared_ptr<State> state_;
    std::thread thread_;
};

class ThreadSerialQueueMaker final : public SerialQueueMaker {
public:
    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
};

}  // namespace platform
