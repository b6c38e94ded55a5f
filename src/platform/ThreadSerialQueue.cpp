#include "platform/ThreadSerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <utility>

namespace platform {

struct ThreadSerialQueue::State {
    explicit State(std::string name) : label(std::move(name)) {}

    void run();

    const std::string label;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    bool hasThread = false;
    bool ending = false;
};

ThreadSerialQueue::ThreadSerialQueue(std::string label) : state_(std::make_shared<State>(std::move(label))) {}

ThreadSerialQueue::~ThreadSerialQueue() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->ending = true;
    }
    state_->changed.notify_one();
    if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();
    } else if (thread_.joinable()) {
        thread_.join();
    }
}

void ThreadSerialQueue::async(std::function<void()> task) {
    // The task may destroy this queue before this call has returned.
    const auto state = state_;
    {
        const std::lock_guard lock(state->mutex);
        state->tasks.push_back(std::move(task));
        if (!std::exchange(state->hasThread, true)) {
            thread_ = std::thread([state] { state->run(); });
        }
    }
    state->changed.notify_one();
}

void ThreadSerialQueue::State::run() {
    // Thread names hold 15 bytes and a terminator.
    pthread_setname_np(pthread_self(), label.substr(0, 15).c_str());
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return ending || !tasks.empty(); });
        if (tasks.empty()) {
            return;
        }
        auto task = std::move(tasks.front());
        tasks.pop_front();
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
