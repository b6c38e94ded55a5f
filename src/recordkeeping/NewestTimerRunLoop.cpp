#include "recordkeeping/NewestTimerRunLoop.h"

#include <utility>

namespace recordkeeping {

std::shared_ptr<platform::Timer> NewestTimerRunLoop::scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                                            std::function<void()> fire) {
    if (const auto previous = newest_.lock()) {
        previous->invalidate();
    }
    auto timer = runLoop_.scheduleRepeatingTimer(interval, std::move(fire));
    newest_ = timer;
    return timer;
}

void NewestTimerRunLoop::addOneShotReadSource(int descriptor, std::function<void()> readable) {
    runLoop_.addOneShotReadSource(descriptor, std::move(readable));
}

}  // namespace recordkeeping
