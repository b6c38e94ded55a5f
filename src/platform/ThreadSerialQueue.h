#pragma once

#include "platform/DispatchQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace platform {

/// A serial queue on a thread of its own, which starts with the first task and sleeps while there is none.
class ThreadSerialQueue final : public DispatchQueue {
public:
    explicit ThreadSerialQueue(std::string label);

    /// Runs what was put already, then ends the thread. Not from a task of this queue.
    ~ThreadSerialQueue() override;

    ThreadSerialQueue(const ThreadSerialQueue&) = delete;
    ThreadSerialQueue& operator=(const ThreadSerialQueue&) = delete;

    void async(std::function<void()> task) override;

private:
    void run();

    const std::string label_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool ending_ = false;
    std::thread thread_;
};

class ThreadSerialQueueMaker final : public SerialQueueMaker {
public:
    std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
};

}  // namespace platform
