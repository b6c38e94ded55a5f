#include "KTRProcessGuard.h"

#include "platform/ProcessExitWatch.h"
#include "support/FakeProcessExitWatch.h"
#include "support/RecordingTrace.h"
#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/ProcessGuardLines.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using test::guarding;
using test::Log;
using test::observingExit;
using test::unguarding;
using Pids = std::vector<std::int32_t>;

class Losses final : public KTRProcessGuardDelegate {
public:
    void processGuardLostProcess(std::int32_t pid) override {
        lost.push_back(pid);
        if (onLost) {
            onLost();
        }
    }

    Pids lost;
    std::function<void()> onLost;
};

class KTRProcessGuardTest : public testing::Test {
protected:
    KTRProcessGuardTest() { guard->setDelegate(losses); }

    test::RecordingTrace trace;
    test::FakeProcessExitWatch exitWatch;
    std::shared_ptr<Losses> losses = std::make_shared<Losses>();
    std::shared_ptr<KTRProcessGuard> guard = KTRProcessGuard::create(exitWatch);
};

TEST_F(KTRProcessGuardTest, BeginsWithNothingGuardedAndTracesNothing) {
    EXPECT_TRUE(guard->guardProcessIdArr().empty());
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRProcessGuardTest, GuardingTheSamePidTwiceArmsOneWatchAndReportsItsExitOnce) {
    guard->guardProcessWithPid(4711);
    guard->guardProcessWithPid(4711);
    EXPECT_EQ(exitWatch.watched(), Pids{4711});
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{4711});
    exitWatch.exit(4711);
    EXPECT_EQ(losses->lost, Pids{4711});
    EXPECT_EQ(trace.log(), (Log{guarding(4711), guarding(4711), observingExit(4711)}));
    EXPECT_TRUE(guard->guardProcessIdArr().empty());
}

TEST_F(KTRProcessGuardTest, ARemovedPidsExitIsTracedAndNotReported) {
    guard->guardProcessWithPid(4711);
    guard->removeGuardProcessWithPid(4711);
    EXPECT_EQ(exitWatch.armedCount(4711), 1U) << "the watch stays armed";
    exitWatch.exit(4711);
    EXPECT_TRUE(losses->lost.empty());
    EXPECT_EQ(trace.log(), (Log{guarding(4711), unguarding(4711), observingExit(4711)}));
}

TEST_F(KTRProcessGuardTest, APidThatDoesNotExistStaysInTheListUnreported) {
    exitWatch.exit(4711);
    guard->guardProcessWithPid(4711);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{4711});
    EXPECT_TRUE(losses->lost.empty());
    EXPECT_EQ(trace.log(), Log{guarding(4711)});
}

TEST_F(KTRProcessGuardTest, TwoProcessesExitingInAnyOrderAreEachReportedOnceWithTheirOwnId) {
    guard->guardProcessWithPid(1);
    guard->guardProcessWithPid(2);
    exitWatch.exit(2);
    exitWatch.exit(1);
    EXPECT_EQ(losses->lost, (Pids{2, 1}));
    guard->guardProcessWithPid(3);
    guard->guardProcessWithPid(4);
    exitWatch.exit(3);
    exitWatch.exit(4);
    EXPECT_EQ(losses->lost, (Pids{2, 1, 3, 4}));
}

TEST_F(KTRProcessGuardTest, AProcessGuardedRemovedAndGuardedAgainHasTwoWatchesAndIsReportedOnce) {
    guard->guardProcessWithPid(4711);
    guard->removeGuardProcessWithPid(4711);
    guard->guardProcessWithPid(4711);
    EXPECT_EQ(exitWatch.armedCount(4711), 2U);
    exitWatch.exit(4711);
    EXPECT_EQ(losses->lost, Pids{4711});
    EXPECT_EQ(trace.log(),
              (Log{guarding(4711), unguarding(4711), guarding(4711), observingExit(4711), observingExit(4711)}));
}

TEST_F(KTRProcessGuardTest, UnknownIdsAreIgnored) {
    guard->guardProcessWithPid(1);
    guard->removeGuardProcessWithPid(2);
    guard->onLostMeetingProcessWithPid(3);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{1});
    EXPECT_TRUE(losses->lost.empty());
    EXPECT_EQ(trace.log(), (Log{guarding(1), unguarding(2)})) << "an exit of an unguarded id is not even traced";
}

TEST_F(KTRProcessGuardTest, RemovingTakesEveryEntryEqualToTheId) {
    guard->setGuardProcessIdArr({5, 6, 5});
    guard->removeGuardProcessWithPid(5);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{6});
}

TEST_F(KTRProcessGuardTest, AnExitTakesEveryEntryEqualToTheIdAndReportsOnce) {
    guard->setGuardProcessIdArr({5, 6, 5});
    guard->onLostMeetingProcessWithPid(5);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{6});
    EXPECT_EQ(losses->lost, Pids{5});
}

TEST_F(KTRProcessGuardTest, IdsKeepTheOrderOfGuarding) {
    for (const std::int32_t pid : {9, 3, 7, 3, -1, 0}) {
        guard->guardProcessWithPid(pid);
    }
    EXPECT_EQ(guard->guardProcessIdArr(), (Pids{9, 3, 7, -1, 0}));
}

TEST_F(KTRProcessGuardTest, MoreThanTenProcessesAreGuarded) {
    Pids pids;
    for (std::int32_t pid = 1; pid <= 40; ++pid) {
        guard->guardProcessWithPid(pid);
        pids.push_back(pid);
    }
    EXPECT_EQ(guard->guardProcessIdArr(), pids);
    for (const std::int32_t pid : pids) {
        exitWatch.exit(pid);
    }
    EXPECT_EQ(losses->lost, pids);
}

TEST_F(KTRProcessGuardTest, TheIdLeavesTheListOnlyAfterTheDelegateWasTold) {
    class Nosy final : public KTRProcessGuardDelegate {
    public:
        void processGuardLostProcess(std::int32_t) override { told = true; }
        bool told = false;
    };
    const auto nosy = std::make_shared<Nosy>();
    guard->setDelegate(nosy);
    guard->guardProcessWithPid(4711);
    exitWatch.exit(4711);
    EXPECT_TRUE(nosy->told);
    EXPECT_TRUE(guard->guardProcessIdArr().empty());
}

TEST_F(KTRProcessGuardTest, WithoutADelegateOrWithOneThatImplementsNothingTheIdStillLeavesTheList) {
    guard->setDelegate(nullptr);
    guard->guardProcessWithPid(1);
    exitWatch.exit(1);
    const auto nothing = std::make_shared<KTRProcessGuardDelegate>();
    guard->setDelegate(nothing);
    guard->guardProcessWithPid(2);
    exitWatch.exit(2);
    EXPECT_TRUE(guard->guardProcessIdArr().empty());
}

TEST_F(KTRProcessGuardTest, TheLatestGuardIsTheOneThatExitsReach) {
    guard->guardProcessWithPid(4711);
    const auto later = KTRProcessGuard::create(exitWatch);
    const auto laterLosses = std::make_shared<Losses>();
    later->setDelegate(laterLosses);
    later->setGuardProcessIdArr({4711});
    exitWatch.exit(4711);
    EXPECT_TRUE(losses->lost.empty());
    EXPECT_EQ(laterLosses->lost, Pids{4711});
}

TEST_F(KTRProcessGuardTest, TheLatestGuardIsKeptAliveForTheKernelsReports) {
    const std::weak_ptr<KTRProcessGuard> watched = guard;
    guard = nullptr;
    EXPECT_FALSE(watched.expired());
    guard = KTRProcessGuard::create(exitWatch);
    EXPECT_TRUE(watched.expired());
}

TEST_F(KTRProcessGuardTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Losses> watched = losses;
    losses = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(guard->delegate(), nullptr);
}

/// Watches no process; callable from any thread.
class Nobody final : public platform::ProcessExitWatch {
public:
    void watch(std::int32_t /*processId*/, std::function<void(std::int32_t)> /*exited*/) override {}
};

TEST(KTRProcessGuardOnThreadsTest, IdsThatComeAndGoOnManyThreadsNeitherGetLostNorStay) {
    constexpr std::int32_t count = 300;
    Nobody nobody;
    const auto guard = KTRProcessGuard::create(nobody);
    std::vector<std::thread> threads;
    threads.emplace_back([&guard] {
        for (std::int32_t pid = 1; pid <= count; ++pid) {
            guard->guardProcessWithPid(pid);
        }
    });
    threads.emplace_back([&guard] {
        for (std::int32_t pid = count + 1; pid <= 2 * count; ++pid) {
            guard->guardProcessWithPid(pid);
            guard->removeGuardProcessWithPid(pid);
        }
    });
    threads.emplace_back([&guard] {
        for (std::int32_t pid = 2 * count + 1; pid <= 3 * count; ++pid) {
            guard->guardProcessWithPid(pid);
            guard->onLostMeetingProcessWithPid(pid);
        }
    });
    threads.emplace_back([&guard] {
        for (std::int32_t times = 0; times < count; ++times) {
            EXPECT_LE(guard->guardProcessIdArr().size(), static_cast<std::size_t>(count) + 2);
        }
    });
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(guard->guardProcessIdArr().size(), static_cast<std::size_t>(count));
}

/// Ends what is going on, so that a test sees how far it had come.
struct Interruption {};

TEST_F(KTRProcessGuardTest, AProcessIsListedBeforeItIsArmed) {
    test::Sequence sequence;
    sequence.setOnEvent([](const std::string& event) {
        if (event == "exit watch: 4711") {
            throw Interruption();
        }
    });
    EXPECT_THROW(guard->guardProcessWithPid(4711), Interruption);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{4711});
}

TEST_F(KTRProcessGuardTest, AnExitIsToldBeforeTheIdIsDropped) {
    guard->guardProcessWithPid(4711);
    losses->onLost = [] { throw Interruption(); };
    EXPECT_THROW(exitWatch.exit(4711), Interruption);
    EXPECT_EQ(guard->guardProcessIdArr(), Pids{4711});
}

TEST_F(KTRProcessGuardTest, NobodySeesTheListWhileAnExitIsTold) {
    guard->guardProcessWithPid(4711);
    std::future<Pids> seen;
    losses->onLost = [&] {
        seen = std::async(std::launch::async, [this] { return guard->guardProcessIdArr(); });
        EXPECT_EQ(seen.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    };
    exitWatch.exit(4711);
    ASSERT_TRUE(seen.valid());
    EXPECT_EQ(seen.get(), Pids());
}

}  // namespace
