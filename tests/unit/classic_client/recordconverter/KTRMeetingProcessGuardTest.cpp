#include "KTRMeetingProcessGuard.h"

#include "support/FakeRunLoop.h"
#include "support/FakeRunningApplications.h"
#include "support/FakeSystemLog.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Log = std::vector<std::string>;

class Polls final : public KTRMeetingProcessGuardDelegate {
public:
    void meetingProcessGuardDidFoundProcess(KTRMeetingProcessGuard& guard, std::int32_t pid) override {
        note("found " + std::to_string(pid), guard);
    }
    void meetingProcessGuardDidLostProcessForTimes(KTRMeetingProcessGuard& guard, std::int32_t pid,
                                                   std::uint64_t times) override {
        note("lost " + std::to_string(pid) + " for " + std::to_string(times), guard);
    }
    void meetingProcessGuardDidDetectCrashInProcess(KTRMeetingProcessGuard& guard, std::int32_t pid) override {
        note("crash of " + std::to_string(pid), guard);
        timerAtCrash = guard.guardTimer() != nullptr;
    }

    Log log;
    const KTRMeetingProcessGuard* expectedGuard = nullptr;
    bool timerAtCrash = true;

private:
    void note(const std::string& event, const KTRMeetingProcessGuard& guard) {
        EXPECT_EQ(&guard, expectedGuard);
        log.push_back(event);
    }
};

class KTRMeetingProcessGuardTest : public testing::Test {
protected:
    KTRMeetingProcessGuardTest() {
        guard->setDelegate(polls);
        polls->expectedGuard = guard.get();
    }

    ~KTRMeetingProcessGuardTest() override {
        // A guard that still polls keeps itself alive.
        if (guard) {
            guard->cancel();
        }
    }

    test::FakeSystemLog systemLog;
    test::FakeRunLoop runLoop;
    test::FakeRunningApplications applications;
    std::shared_ptr<Polls> polls = std::make_shared<Polls>();
    std::shared_ptr<KTRMeetingProcessGuard> guard =
        std::make_shared<KTRMeetingProcessGuard>(4711, runLoop, applications);
};

TEST_F(KTRMeetingProcessGuardTest, BeginsByItsDefaultsWithoutPolling) {
    EXPECT_EQ(systemLog.lines(), Log{"-[KTRMeetingProcessGuard initWithMeetingProcessId:]: pid = 4711"});
    EXPECT_EQ(guard->meetingProcessId(), 4711);
    EXPECT_EQ(guard->guardInterval(), 1.0s);
    EXPECT_EQ(guard->maxFailureCount(), 5U);
    EXPECT_EQ(guard->failureCounter(), 0U);
    EXPECT_EQ(guard->guardTimer(), nullptr);
    runLoop.advance(60s);
    EXPECT_TRUE(polls->log.empty());
}

TEST_F(KTRMeetingProcessGuardTest, AProcessThatNeverExistedIsLostFiveTimesThenCrashedThenSilent) {
    guard->guardIt();
    runLoop.advance(60s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 1", "lost 4711 for 2", "lost 4711 for 3", "lost 4711 for 4",
                               "lost 4711 for 5", "crash of 4711"}));
    EXPECT_FALSE(polls->timerAtCrash) << "polling stops before the crash is reported";
    EXPECT_EQ(applications.asked().size(), 5U);
}

TEST_F(KTRMeetingProcessGuardTest, TheFirstPollComesOneIntervalAfterTheStart) {
    applications.start(4711);
    guard->guardIt();
    runLoop.advance(0.999s);
    EXPECT_TRUE(polls->log.empty());
    runLoop.advance(0.001s);
    EXPECT_EQ(polls->log, Log{"found 4711"});
    runLoop.advance(2s);
    EXPECT_EQ(polls->log.size(), 3U);
}

TEST_F(KTRMeetingProcessGuardTest, ASightingBetweenMissesStartsTheCountAgain) {
    guard->guardIt();
    runLoop.advance(2s);
    applications.start(4711);
    runLoop.advance(1s);
    applications.end(4711);
    runLoop.advance(1s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 1", "lost 4711 for 2", "found 4711", "lost 4711 for 1"}));
}

TEST_F(KTRMeetingProcessGuardTest, GuardingTwiceKeepsASingleTimer) {
    guard->guardIt();
    const auto timer = guard->guardTimer();
    guard->guardIt();
    EXPECT_EQ(guard->guardTimer(), timer);
    EXPECT_EQ(runLoop.timers().size(), 1U);
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, CancellingBeforeGuardingDoesNothing) {
    guard->cancel();
    EXPECT_EQ(guard->guardTimer(), nullptr);
    guard->guardIt();
    runLoop.advance(1s);
    EXPECT_EQ(polls->log.size(), 1U);
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, CancellingStopsThePollsAndForgetsTheTimer) {
    guard->guardIt();
    const auto timer = guard->guardTimer();
    guard->cancel();
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(guard->guardTimer(), nullptr);
    runLoop.advance(60s);
    EXPECT_TRUE(polls->log.empty());
}

TEST_F(KTRMeetingProcessGuardTest, AnInvalidTimerIsNeitherStoppedNorForgotten) {
    guard->guardIt();
    const auto timer = guard->guardTimer();
    timer->invalidate();
    guard->stopGuardTimer();
    EXPECT_EQ(guard->guardTimer(), timer);
    guard->startGuardTimer();
    EXPECT_EQ(runLoop.timers().size(), 1U) << "a timer exists, valid or not";
    guard->setGuardTimer(runLoop.scheduleRepeatingTimer(1s, [] {}));
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, AfterACrashTheCounterStaysAndTheFirstFurtherMissIsACrashAtOnce) {
    guard->guardIt();
    runLoop.advance(60s);
    polls->log.clear();
    EXPECT_EQ(guard->failureCounter(), 5U);
    guard->guardIt();
    runLoop.advance(60s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 6", "crash of 4711"}));
}

TEST_F(KTRMeetingProcessGuardTest, TheLimitIsReachedNotPassed) {
    guard->setMaxFailureCount(2);
    guard->guardIt();
    runLoop.advance(60s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 1", "lost 4711 for 2", "crash of 4711"}));
}

TEST_F(KTRMeetingProcessGuardTest, ALimitOfZeroMakesTheFirstMissACrashAndTheLargestIsNeverReached) {
    guard->setMaxFailureCount(0);
    guard->guardIt();
    runLoop.advance(1s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 1", "crash of 4711"}));
    polls->log.clear();
    guard->setMaxFailureCount(~std::uint64_t{0});
    guard->guardIt();
    runLoop.advance(100s);
    EXPECT_EQ(polls->log.size(), 100U);
    EXPECT_EQ(polls->log.back(), "lost 4711 for 101");
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, TheIntervalCountsFromTheNextStartOn) {
    guard->setGuardInterval(0.25s);
    guard->guardIt();
    runLoop.advance(1s);
    EXPECT_EQ(polls->log.size(), 4U);
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, TheIdMayChangeBetweenPolls) {
    guard->guardIt();
    runLoop.advance(1s);
    guard->setMeetingProcessId(8);
    guard->setFailureCounter(0);
    applications.start(8);
    runLoop.advance(1s);
    EXPECT_EQ(polls->log, (Log{"lost 4711 for 1", "found 8"}));
    guard->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, WithoutADelegateOrWithOneThatImplementsNothingItStillCountsAndStopsAtACrash) {
    const auto nothing = std::make_shared<KTRMeetingProcessGuardDelegate>();
    for (const std::shared_ptr<KTRMeetingProcessGuardDelegate>& delegate :
         {std::shared_ptr<KTRMeetingProcessGuardDelegate>(), nothing}) {
        applications.start(4711);
        guard->setFailureCounter(0);
        guard->setDelegate(delegate);
        guard->guardIt();
        runLoop.advance(1s);
        applications.end(4711);
        runLoop.advance(60s);
        EXPECT_EQ(guard->failureCounter(), 5U);
        EXPECT_EQ(guard->guardTimer(), nullptr);
    }
}

TEST_F(KTRMeetingProcessGuardTest, ARunningTimerKeepsTheGuardAliveUntilItIsStopped) {
    guard->guardIt();
    const std::weak_ptr<KTRMeetingProcessGuard> watched = guard;
    guard = nullptr;
    runLoop.advance(4s);
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(polls->log.size(), 4U);
    runLoop.advance(1s);
    EXPECT_TRUE(watched.expired()) << "the crash stopped the timer";
    EXPECT_EQ(polls->log.back(), "crash of 4711") << "and was told all the same";
    EXPECT_EQ(systemLog.lines().back(), "-[KTRMeetingProcessGuard dealloc]");
}

TEST_F(KTRMeetingProcessGuardTest, ATimerThatWasReplacedStillHoldsItsGuard) {
    guard->guardIt();
    const auto first = guard->guardTimer();
    guard->setGuardTimer(nullptr);
    guard->guardIt();
    guard->cancel();
    const std::weak_ptr<KTRMeetingProcessGuard> watched = guard;
    guard = nullptr;
    ASSERT_TRUE(first->isValid());
    runLoop.advance(1s);
    EXPECT_FALSE(watched.expired()) << "the timer ticks, so its target must still exist";
    runLoop.advance(9s);
    EXPECT_EQ(polls->log.back(), "crash of 4711");
    watched.lock()->setGuardTimer(first);
    watched.lock()->cancel();
}

TEST_F(KTRMeetingProcessGuardTest, ItsEndIsLogged) {
    guard = nullptr;
    EXPECT_EQ(systemLog.lines(), (Log{"-[KTRMeetingProcessGuard initWithMeetingProcessId:]: pid = 4711",
                                      "-[KTRMeetingProcessGuard dealloc]"}));
}

TEST_F(KTRMeetingProcessGuardTest, ItsEndStopsATimerThatWasSet) {
    const auto timer = runLoop.scheduleRepeatingTimer(1s, [] {});
    guard->setGuardTimer(timer);
    guard = nullptr;
    EXPECT_FALSE(timer->isValid());
}

TEST_F(KTRMeetingProcessGuardTest, ADelegateMayCancelDuringAPoll) {
    class Canceller final : public KTRMeetingProcessGuardDelegate {
    public:
        void meetingProcessGuardDidLostProcessForTimes(KTRMeetingProcessGuard& guard, std::int32_t,
                                                       std::uint64_t) override {
            ++count;
            guard.cancel();
        }
        int count = 0;
    };
    const auto canceller = std::make_shared<Canceller>();
    guard->setDelegate(canceller);
    guard->guardIt();
    guard = nullptr;
    runLoop.advance(60s);
    EXPECT_EQ(canceller->count, 1);
    EXPECT_EQ(systemLog.lines().back(), "-[KTRMeetingProcessGuard dealloc]");
}

TEST_F(KTRMeetingProcessGuardTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Polls> watched = polls;
    polls = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(guard->delegate(), nullptr);
}

}  // namespace
