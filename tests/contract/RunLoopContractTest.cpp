#include "contract/EventLoop.h"
#include "platform/qt/QtRunLoop.h"
#include "support/FakeRunLoop.h"

#include <array>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

struct FakeHost {
    test::FakeRunLoop loop;

    void pass(std::chrono::milliseconds time) { loop.advance(time); }

    void makeReadable(int descriptor, int writer) {
        [[maybe_unused]] const auto written = write(writer, "x", 1);
        loop.makeReadable(descriptor);
    }
};

struct QtHost {
    platform::qt::QtRunLoop loop;

    void pass(std::chrono::milliseconds time) { test::turnFor(time); }

    void makeReadable(int, int writer) {
        [[maybe_unused]] const auto written = write(writer, "x", 1);
        test::turnFor(50ms);
    }
};

template<typename Host>
class RunLoopContract : public ::testing::Test {
protected:
    Host host;
};

using Hosts = ::testing::Types<FakeHost, QtHost>;
TYPED_TEST_SUITE(RunLoopContract, Hosts);

TYPED_TEST(RunLoopContract, TimerRepeatsAndFirstFiresOneIntervalFromNow) {
    int fired = 0;
    const auto timer = this->host.loop.scheduleRepeatingTimer(0.2s, [&] { ++fired; });
    this->host.pass(100ms);
    EXPECT_EQ(fired, 0);
    this->host.pass(1000ms);
    EXPECT_GE(fired, 3);
    EXPECT_LE(fired, 5);
    timer->invalidate();
}

TYPED_TEST(RunLoopContract, TimerIsHeldByTheLoopWhenEveryoneElseLetsGo) {
    int fired = 0;
    std::weak_ptr<platform::Timer> timer = this->host.loop.scheduleRepeatingTimer(0.02s, [&] { ++fired; });
    this->host.pass(200ms);
    EXPECT_GE(fired, 2);
    ASSERT_FALSE(timer.expired());
    timer.lock()->invalidate();
}

TYPED_TEST(RunLoopContract, InvalidatedTimerNeverFiresAgain) {
    int fired = 0;
    const auto timer = this->host.loop.scheduleRepeatingTimer(0.02s, [&] { ++fired; });
    EXPECT_TRUE(timer->isValid());
    timer->invalidate();
    EXPECT_FALSE(timer->isValid());
    this->host.pass(100ms);
    EXPECT_EQ(fired, 0);
}

TYPED_TEST(RunLoopContract, TimerMayBeInvalidatedFromInsideItsOwnCall) {
    int fired = 0;
    std::shared_ptr<platform::Timer> timer;
    timer = this->host.loop.scheduleRepeatingTimer(0.02s, [&] {
        ++fired;
        timer->invalidate();
        timer.reset();
    });
    this->host.pass(200ms);
    EXPECT_EQ(fired, 1);
}

TYPED_TEST(RunLoopContract, TimerMayBeInvalidatedFromAnotherThread) {
    int fired = 0;
    const auto timer = this->host.loop.scheduleRepeatingTimer(0.02s, [&] { ++fired; });
    std::thread([&] { timer->invalidate(); }).join();
    EXPECT_FALSE(timer->isValid());
    this->host.pass(100ms);
    EXPECT_EQ(fired, 0);
}

TYPED_TEST(RunLoopContract, ReadSourceFiresOnceWhenTheDescriptorCanBeRead) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    int fired = 0;
    this->host.loop.addOneShotReadSource(ends[0], [&] { ++fired; });
    this->host.pass(50ms);
    EXPECT_EQ(fired, 0);
    this->host.makeReadable(ends[0], ends[1]);
    EXPECT_EQ(fired, 1);
    this->host.makeReadable(ends[0], ends[1]);
    EXPECT_EQ(fired, 1);
    close(ends[1]);
}

TEST(QtRunLoop, LetsGoOfTheClosureOfATimerThatAnotherThreadInvalidated) {
    platform::qt::QtRunLoop loop;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    auto timer = loop.scheduleRepeatingTimer(0.02s, [kept = std::move(held)] { ++*kept; });
    std::thread([&] {
        timer->invalidate();
        timer.reset();
    }).join();
    test::turnFor(100ms);
    EXPECT_TRUE(watched.expired());
}

TEST(QtRunLoop, ClosesTheDescriptorOfAReadSourceAfterItsCall) {
    platform::qt::QtRunLoop loop;
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    bool wasOpenInside = false;
    loop.addOneShotReadSource(ends[0], [&] { wasOpenInside = fcntl(ends[0], F_GETFD) >= 0; });
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    test::turnFor(50ms);
    EXPECT_TRUE(wasOpenInside);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    close(ends[1]);
}

}  // namespace
