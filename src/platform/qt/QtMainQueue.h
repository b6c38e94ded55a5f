#pragma once

#include "platform/DispatchQueue.h"

#include <memory>

namespace platform::qt {

/// The queue of the main thread: one task each turn of Qt's event loop. Made on the main thread; tasks may be put
/// before the loop turns. Ending it drops what has not run.
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
