#pragma once

#include "platform/RunLoop.h"

namespace recordkeeping {

/// The application's run loop, on which it has one repeating timer, the quit check. Two jobs that run out together arm
/// two checks, and the application keeps only the newer one; the older one would tick until the end. So this run loop
/// stops a timer when the next one is created.
class NewestTimerRunLoop final : public platform::RunLoop {
public:
    /// `runLoop` outlives this object.
    explicit NewestTimerRunLoop(platform::RunLoop& runLoop) : runLoop_(runLoop) {}

    std::shared_ptr<platform::Timer> scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                            std::function<void()> fire) override;
    void addOneShotReadSource(int descriptor, std::function<void()> readable) override;

private:
    platform::RunLoop& runLoop_;
    std::weak_ptr<platform::Timer> newest_;
};

}  // namespace recordkeeping
