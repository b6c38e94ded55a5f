#include "platform/ThreadSerialQueue.h"

#include <pthread.h>
#include <utility>

namespace platform {

ThreadSerialQueue::ThreadSerialQueue(std::string label) : label_(std::move(label)) {}

ThreadSerialQueue::~ThreadSerialQueue() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void ThreadSerialQueue::async(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        if (!thread_.joinable()) {
            thread_ = std::thread([this] { run(); });
        }
    }
    changed_.notify_one();
}

void ThreadSerialQueue::run() {
    // Thread names hold 15 bytes and a terminator.
    pthread_setname_np(pthread_self(), label_.substr(0, 15).c_str());
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
        if (tasks_.empty()) {
            return;
        }
        auto task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
    }
}

std::unique_ptr<DispatchQueue> ThreadSerialQueueMaker::makeSerialQueue(const std::string& label) {
    return std::make_unique<ThreadSerialQueue>(label);
}

}  // namespace platform
