#include "support/FakeRunLoop.h"

#include "support/Sequence.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace test {

class FakeRunLoop::FakeTimer final : public platform::Timer {
public:
    FakeTimer(std::chrono::duration<double> start, std::chrono::duration<double> interval, std::function<void()> fire)
        : interval_(interval), due_(start + interval), fire_(std::move(fire)) {}

    void invalidate() override {
        Sequence::add("timer: invalidate");
        valid_ = false;
    }
    bool isValid() const override { return valid_; }

    std::chrono::duration<double> due() const { return due_; }

    void fire() {
        due_ += interval_;
        fire_();
    }

private:
    const std::chrono::duration<double> interval_;
    std::chrono::duration<double> due_;
    const std::function<void()> fire_;
    std::atomic<bool> valid_{true};
};

FakeRunLoop::FakeRunLoop() = default;
FakeRunLoop::~FakeRunLoop() = default;

std::shared_ptr<platform::Timer> FakeRunLoop::scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                                     std::function<void()> fire) {
    Sequence::add("run loop: timer");
    const auto timer = std::make_shared<FakeTimer>(now_, interval, std::move(fire));
    timers_.push_back(timer);
    handles_.push_back(timer);
    return timer;
}

void FakeRunLoop::addOneShotReadSource(int descriptor, std::function<void()> readable) {
    readSources_.push_back({descriptor, std::move(readable)});
}

std::shared_ptr<FakeRunLoop::FakeTimer> FakeRunLoop::nextDue(std::chrono::duration<double> limit) const {
    std::shared_ptr<FakeTimer> next;
    for (const auto& timer : timers_) {
        if (timer->isValid() && timer->due() <= limit && (!next || timer->due() < next->due())) {
            next = timer;
        }
    }
    return next;
}

void FakeRunLoop::advance(std::chrono::duration<double> duration) {
    // Sums of binary fractions may fall slightly short; a tick due exactly at the end must not be lost.
    const auto end = now_ + duration;
    const auto limit = end + std::chrono::nanoseconds(1);
    while (const auto timer = nextDue(limit)) {
        now_ = std::max(now_, timer->due());
        timer->fire();
    }
    now_ = end;
}

std::size_t FakeRunLoop::validTimerCount() const {
    return static_cast<std::size_t>(
        std::count_if(handles_.begin(), handles_.end(), [](const auto& timer) { return timer->isValid(); }));
}

bool FakeRunLoop::makeReadable(int descriptor) {
    const auto found = std::find_if(readSources_.begin(), readSources_.end(),
                                    [&](const ReadSource& source) { return source.descriptor == descriptor; });
    if (found == readSources_.end()) {
        return false;
    }
    const auto readable = std::move(found->readable);
    readSources_.erase(found);
    readable();
    return true;
}

}  // namespace test
