#pragma once

#include "platform/RunLoop.h"

namespace platform::qt {

/// Qt's event loop of the main thread. A timer that another thread invalidates causes one more wake-up without a call.
/// Scheduled timers and sources belong to the event loop, not to this object.
class QtRunLoop final : public RunLoop {
public:
    std::shared_ptr<Timer> scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                  std::function<void()> fire) override;
    void addOneShotReadSource(int descriptor, std::function<void()> readable) override;
};

}  // namespace platform::qt
