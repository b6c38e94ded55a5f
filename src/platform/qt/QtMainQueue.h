#pragma once

#include "platform/DispatchQueue.h"

#include <memory>

namespace platform::qt {

/// The queue of the main thread: one task per iteration of Qt's event loop. Created on the main thread; tasks may be
/// queued before the loop runs. The destructor drops tasks that have not run.
class QtMainQueue final : public DispatchQueue {
public:
    QtMainQueue();
    ~QtMainQueue() override;

    void async(std::function<void()> task) override;

private:
    struct State;
    const std::unique_ptr<State> state_;
};

}  // namespace platform::qt
