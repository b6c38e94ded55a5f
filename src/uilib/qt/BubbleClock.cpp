#include "uilib/qt/BubbleClock.h"

#include <algorithm>
#include <utility>

namespace uilib::qt {

namespace {

constexpr std::chrono::milliseconds leastAfterHolding{3000};

}  // namespace

BubbleClock::BubbleClock(std::function<void()> ranOut) {
    timer_.setSingleShot(true);
    // Coarse timers may fire up to a twentieth too early.
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [ranOut = std::move(ranOut)] { ranOut(); });
}

void BubbleClock::start(std::chrono::milliseconds time) {
    started_ = true;
    left_ = time;
    if (!held_) {
        timer_.start(left_);
    }
}

void BubbleClock::stop() {
    started_ = false;
    timer_.stop();
}

void BubbleClock::setHeld(bool held) {
    if (held == held_) {
        return;
    }
    held_ = held;
    if (!started_) {
        return;
    }
    if (held) {
        left_ = timer_.remainingTimeAsDuration();
        timer_.stop();
    } else {
        left_ = std::max(left_, leastAfterHolding);
        timer_.start(left_);
    }
}

}  // namespace uilib::qt
