/// The loop of the queue: when it runs, sleeps and ends.

#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/KTRMeetingRecordConvertingQueueTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::KTRMeetingRecordConvertingQueueTest;
using test::Log;

const std::string runLine = "-[KTRMeetingRecordConvertingQueue run]";
const std::string haltLine = "-[KTRMeetingRecordConvertingQueue halt]";
const std::string reviveLine = "-[KTRMeetingRecordConvertingQueue revive]";
const std::string outLine = "-[KTRMeetingRecordConvertingQueue processConvertingBuffer]: run out of jobs";

TEST_F(KTRMeetingRecordConvertingQueueTest, RunLogsExpectsMoreAndStartsTheLoopInTheBackground) {
    queue->run();
    EXPECT_EQ(systemLog.lines(), Log{runLine});
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_EQ(executor.pendingCount(), 1U);
    EXPECT_TRUE(reports->log.empty());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AnEmptyQueueIsPolledOnceASecondUntilHaltAndThenRunsOutOnce) {
    int turns = 0;
    executor.setOnSleep([&] {
        if (++turns == 4) {
            queue->halt();
        }
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(executor.sleeps(), (std::vector<double>{1, 1, 1, 1}));
    EXPECT_EQ(systemLog.lines(), (Log{runLine, haltLine, outLine}));
    EXPECT_EQ(reports->log, Log{"ran out"});
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ItemsAppendedAfterHaltButBeforeTheLoopEndsAreStillConverted) {
    script({100.0F});
    executor.setOnSleep([&] {
        queue->halt();
        queue->appendRecordItem(itemFor("/late"));
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(reports->log, (Log{"start /late", "progress 100.000000 /late", "stop /late", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, WhileAJobRunsTheLoopSleepsFiveSecondsAtATime) {
    // A conversion that has not ended when the call returns.
    script({0.0F});
    int turns = 0;
    executor.setOnSleep([&] {
        if (++turns == 3) {
            queue->converter().reportConvertingProgress(100.0F);
        }
    });
    queue->appendRecordItem(itemFor("/a"));
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(executor.sleeps(), (std::vector<double>{5, 5, 5}));
    EXPECT_EQ(reports->log.back(), "ran out");
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ReviveExpectsMoreAgainOnlyAfterHalt) {
    queue->run();
    queue->revive();
    EXPECT_EQ(systemLog.lines(), Log{runLine}) << "nothing to revive";
    queue->halt();
    queue->revive();
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_EQ(systemLog.lines(), (Log{runLine, haltLine, reviveLine}));
    EXPECT_EQ(executor.pendingCount(), 1U) << "it starts no loop";
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AfterTheLoopHasEndedReviveAloneConvertsNothingUntilRun) {
    queue->run();
    queue->halt();
    executor.runNext();
    queue->revive();
    queue->appendRecordItem(itemFor("/a"));
    EXPECT_FALSE(executor.runNext());
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 1U);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ReviveKeepsALoopAliveThatIsAboutToEnd) {
    int turns = 0;
    executor.setOnSleep([&] {
        ++turns;
        queue->halt();
        if (turns == 1) {
            queue->revive();
        }
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(turns, 2);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, TheLoopKeepsTheQueueAliveAndTheDelegateIsNotKept) {
    queue->run();
    queue->halt();
    const std::weak_ptr<KTRMeetingRecordConvertingQueue> watched = queue;
    queue = nullptr;
    EXPECT_FALSE(watched.expired());
    executor.runNext();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(reports->log, Log{"ran out"});
    const std::weak_ptr<Reports> watchedReports = reports;
    reports = nullptr;
    EXPECT_TRUE(watchedReports.expired());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, FlagsCanBeSet) {
    queue->setExpectsMore(true);
    queue->setHasJobRunning(true);
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_TRUE(queue->hasJobRunning());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, RunningOutIsLoggedBeforeItIsTold) {
    Log logged;
    reports->onRunOut = [&] { logged = systemLog.lines(); };
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(logged, (Log{runLine, haltLine, outLine}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, EachCallIsLoggedBeforeItHasAnEffect) {
    test::Sequence sequence;
    std::vector<bool> expected;
    sequence.setOnEvent([&](const std::string&) { expected.push_back(queue->expectsMore()); });
    queue->run();
    queue->halt();
    queue->revive();
    EXPECT_EQ(sequence.events(),
              (Log{"system log: " + runLine, "system log: " + haltLine, "system log: " + reviveLine}));
    EXPECT_EQ(expected, (std::vector{false, true, false}));
}

}  // namespace
