#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Runs tasks one at a time, in the order in which they were queued, never inside the call that queues them. The main
/// queue is one of these (its tasks run on the main thread), the conversion queue another.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Appends `task` and returns at once. Any thread, including tasks of this queue.
    virtual void async(std::function<void()> task) = 0;
};

/// Creates serial queues; the maker decides what they run on.
class SerialQueueMaker {
public:
    virtual ~SerialQueueMaker() = default;

    /// A new serial queue; `label` identifies it to people who inspect the process. Never null.
    virtual std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) = 0;
};

}  // namespace platform
