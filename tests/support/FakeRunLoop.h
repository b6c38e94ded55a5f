#pragma once

#include "platform/RunLoop.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace test {

/// A run loop whose time moves only when the test moves it. Timers that are due together fire in the order of their
/// creation. Timers may be invalidated from any thread; everything else belongs to one thread.
class FakeRunLoop final : public platform::RunLoop {
public:
    /// A descriptor that waits to be read. The fake never closes it.
    struct ReadSource {
        int descriptor;
        std::function<void()> readable;
    };

    FakeRunLoop();
    ~FakeRunLoop() override;

    std::shared_ptr<platform::Timer> scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                            std::function<void()> fire) override;
    void addOneShotReadSource(int descriptor, std::function<void()> readable) override;

    /// Moves time forward by `duration` and fires all timers that fall due, in order, including those created
    /// meanwhile.
    void advance(std::chrono::duration<double> duration);

    /// Time since the loop was created.
    std::chrono::duration<double> now() const { return now_; }

    /// Every timer ever created, in order, valid or not.
    const std::vector<std::shared_ptr<platform::Timer>>& timers() const { return handles_; }

    std::size_t validTimerCount() const;

    /// The sources that have not fired, in the order of their registration.
    const std::vector<ReadSource>& readSources() const { return readSources_; }

    /// Fires the first waiting source of `descriptor`; false if there is none.
    bool makeReadable(int descriptor);

private:
    class FakeTimer;

    std::shared_ptr<FakeTimer> nextDue(std::chrono::duration<double> limit) const;

    std::chrono::duration<double> now_{0};
    std::vector<std::shared_ptr<FakeTimer>> timers_;
    std::vector<std::shared_ptr<platform::Timer>> handles_;
    std::vector<ReadSource> readSources_;
};

}  // namespace test
