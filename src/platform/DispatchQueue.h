#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Runs tasks one at a time, in the order in which they were put, never inside the call that puts them. The main
/// queue is one of these (its tasks run on the main thread), the conversion queue another.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Puts `task` at the end and returns at once. Any thread, tasks of this queue included.
    virtual void async(std::function<void()> task) = 0;
};

/// Makes serial queues; what they run on is the maker's choice.
class SerialQueueMaker {
public:
    virtual ~SerialQueueMaker() = default;

    /// A new serial queue; `label` is for people who look at the process. Never null.
    virtual std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) = 0;
};

}  // namespace platform
