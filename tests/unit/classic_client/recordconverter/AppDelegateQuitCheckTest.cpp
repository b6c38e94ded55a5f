/// The check that ends the application: when it is armed, what each tick asks, and what stops it.

#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/AppDelegateTest.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using test::AppDelegateTest;
using test::info;
using test::Log;

std::string check(int finished, int handled) {
    return info("-[AppDelegate checkNeedQuitApp]: check all task finish " + std::to_string(finished) +
                ", check report handled: " + std::to_string(handled));
}

TEST_F(AppDelegateTest, TheQuitCheckDoesNothingOnceTheDelegateIsGone) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    ASSERT_NE(timer, nullptr);
    fake.application.setDelegate(nullptr);
    app.reset();
    trace.clear();
    fake.runLoop.advance(2s);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(AppDelegateTest, TheFlagChangesAfterTheTimer) {
    test::Sequence sequence;
    std::vector<bool> flags;
    sequence.setOnEvent([&](const std::string& event) {
        if (event == "queue: task" || event == "timer: invalidate") {
            flags.push_back(app->bAllTaskFinished());
        }
    });
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    app->setBAllTaskFinished(false);
    EXPECT_EQ(flags, (std::vector{false, true}));
}

TEST_F(AppDelegateTest, RunningOutIsTracedBeforeTheCheckIsArmed) {
    wire();
    const test::Sequence sequence;
    runOut();
    EXPECT_TRUE(sequence.isBefore("trace: -[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]", "queue: task"));
}

TEST_F(AppDelegateTest, QuittingIsTracedBeforeTheEndIsAskedFor) {
    const test::Sequence sequence;
    app->quitApp();
    EXPECT_TRUE(sequence.isBefore("trace: -[AppDelegate quitApp]", "application: terminate"));
}

TEST_F(AppDelegateTest, FinishingTwiceWithNoTimerYetMakesTwoTimersAndKeepsTheLater) {
    app->setBAllTaskFinished(true);
    app->setBAllTaskFinished(true);
    EXPECT_EQ(app->checkNeedTerminateTimer(), nullptr) << "the timer is made on the main queue";
    fake.mainQueue.drain();
    ASSERT_EQ(fake.runLoop.timers().size(), 2U);
    EXPECT_EQ(app->checkNeedTerminateTimer(), fake.runLoop.timers()[1]);
    EXPECT_TRUE(fake.runLoop.timers()[0]->isValid()) << "the earlier one ticks on";
}

TEST_F(AppDelegateTest, FinishingWithATimerMakesNoOther) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    app->setBAllTaskFinished(true);
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
    EXPECT_TRUE(app->bAllTaskFinished());
}

TEST_F(AppDelegateTest, NotFinishedWhileNoTimerExistsOnlyChangesTheFlag) {
    app->setBAllTaskFinished(true);
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 1U) << "the task queued before still makes its timer";
    fake.mainQueue.drain();
    EXPECT_NE(app->checkNeedTerminateTimer(), nullptr);
    fake.runLoop.advance(1s);
    EXPECT_EQ(terminations(), 0U) << "and its ticks quit nothing while the flag is false";
}

TEST_F(AppDelegateTest, NotFinishedStopsTheTimerAtOnceAndForgetsIt) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(app->checkNeedTerminateTimer(), nullptr);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
    trace.clear();
    fake.runLoop.advance(10s);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(AppDelegateTest, TheCheckTicksOnceASecond) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    manager()->showConvertFailedBubble();
    trace.clear();
    fake.runLoop.advance(0.99s);
    EXPECT_TRUE(trace.log().empty());
    fake.runLoop.advance(0.01s);
    EXPECT_EQ(trace.log(), Log{check(1, 0)});
    fake.runLoop.advance(3s);
    EXPECT_EQ(trace.log().size(), 4U);
}

TEST_F(AppDelegateTest, ATickWhileABubbleIsOpenWaitsAndTheTickAfterItIsHandledQuits) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    manager()->showConvertFailedBubble();
    trace.clear();
    fake.runLoop.advance(1s);
    EXPECT_EQ(trace.log(), Log{check(1, 0)});
    EXPECT_EQ(terminations(), 0U);
    fake.bubbleMaker.postWillClose(*fake.bubbleMaker.bubbles()[0]);
    trace.clear();
    fake.runLoop.advance(1s);
    EXPECT_EQ(trace.log(), (Log{check(1, 1), traced("quitApp", ": ")}));
    EXPECT_EQ(fake.application.terminateSenders(), std::vector<const platform::ApplicationDelegate*>{app.get()});
}

TEST_F(AppDelegateTest, ATickWithoutTheFlagOnlyTraces) {
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(0, 1)});
    manager()->showConvertFailedBubble();
    trace.clear();
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(0, 0)});
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheFlagIsReadAgainAfterTheLine) {
    // The flag may be cleared between the two reads; the line shows the first, the decision follows the second.
    app->setBAllTaskFinished(true);
    trace.setOnLine([this](const test::TraceLine&) { app->setBAllTaskFinished(false); });
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(1, 1)});
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheReporterIsAskedAgainAfterTheLine) {
    app->setBAllTaskFinished(true);
    trace.setOnLine([this](const test::TraceLine&) {
        trace.setOnLine(nullptr);
        manager()->showConvertFailedBubble();
    });
    app->checkNeedQuitApp();
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheTimerCanBeSet) {
    const auto timer = fake.runLoop.scheduleRepeatingTimer(5s, [] {});
    app->setCheckNeedTerminateTimer(timer);
    EXPECT_EQ(app->checkNeedTerminateTimer(), timer);
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(timer->isValid());
}

TEST_F(AppDelegateTest, RunningOutWithAnEmptyPoolArmsTheQuitCheck) {
    wire();
    runOut();
    EXPECT_EQ(trace.log(), Log{traced("recordConvertingJobRunnerDidRunOutOfJobs:", ": ")});
    EXPECT_TRUE(app->bAllTaskFinished());
    fake.mainQueue.drain();
    fake.runLoop.advance(1s);
    EXPECT_EQ(terminations(), 1U);
}

TEST_F(AppDelegateTest, RunningOutWhileAProcessIsKnownDoesNotArmTheCheckAndTheNextRunOutDoes) {
    launch({"-pid", "1", "-path", "/one.rec"});
    deliver(kMeetingRecordNotificationName_RecordingStarted, 2, "/two.rec");
    fake.fileManager.addFile("/one.rec");
    fake.fileManager.addFile("/two.rec");
    fake.exitWatch.exit(1);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    EXPECT_EQ(countInTrace(traced("recordConvertingJobRunnerDidRunOutOfJobs:", ": ")), 1U);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_TRUE(fake.runLoop.timers().empty());

    deliver(kMeetingRecordNotificationName_MeetingAppQuit, 2);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    EXPECT_TRUE(app->bAllTaskFinished());
    EXPECT_EQ(fake.runLoop.validTimerCount(), 1U);
}

TEST_F(AppDelegateTest, TwoRunOutsInARowMakeTwoChecksAndEachAsksOnceATick) {
    // Both report before the main queue has created a timer. The first request ends the process.
    wire();
    runOut();
    runOut();
    fake.mainQueue.drain();
    ASSERT_EQ(fake.runLoop.timers().size(), 2U);
    fake.runLoop.advance(0.999s);
    EXPECT_EQ(terminations(), 0U);
    fake.runLoop.advance(0.001s);
    EXPECT_EQ(terminations(), 2U);
}

using AppDelegateOnThreadsTest = AppDelegateTest;

TEST_F(AppDelegateOnThreadsTest, TheQuitTimerIsReadAndSetByTwoThreads) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        while (!isOver) {
            app->setCheckNeedTerminateTimer(nullptr);
            app->setCheckNeedTerminateTimer(timer);
        }
    });
    for (int count = 0; count < 1000; ++count) {
        const auto seen = app->checkNeedTerminateTimer();
        EXPECT_TRUE(seen == nullptr || seen == timer);
    }
    isOver = true;
    other.join();
}

}  // namespace
