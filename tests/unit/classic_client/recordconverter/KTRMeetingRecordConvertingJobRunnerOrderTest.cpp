/// Several jobs: what waits, which comes next, and the steps of the queue that run them.

#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/KTRMeetingRecordConvertingJobRunnerTest.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::KTRMeetingRecordConvertingJobRunnerTest;
using test::Log;

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, SchedulingReturnsBeforeAnythingIsConverted) {
    trace.clear();
    runner->scheduleJob(itemFor("/a.rec"));
    EXPECT_EQ(trace.log(),
              (Log{traced("scheduleJob:", "src_pid = 7, src_path = /a.rec"), traced("runNextJob", "... ")}));
    EXPECT_TRUE(reports->log.empty());
    EXPECT_TRUE(runner->hasJobsWaiting());
    EXPECT_EQ(queues.last().pendingCount(), 1U);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, AJobScheduledWhileAnotherRunsIsOnlyAppendedAndStartsAfterItsStop) {
    script({0.0F, 100.0F});
    script({100.0F});
    const auto second = itemFor("/b.rec");
    reports->onStart = [&] {
        reports->onStart = nullptr;
        trace.clear();
        runner->scheduleJob(second);
        EXPECT_EQ(trace.log(), Log{traced("scheduleJob:", "src_pid = 7, src_path = /b.rec")});
        EXPECT_EQ(queues.last().pendingCount(), 0U);
    };
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->log, (Log{"start /a.rec", "progress 0.000000 /a.rec", "progress 100.000000 /a.rec",
                                 "keep? /a.rec", "stop /a.rec", "start /b.rec", "progress 100.000000 /b.rec",
                                 "keep? /b.rec", "stop /b.rec", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, AJobScheduledWhileAnotherRunsStartsAfterItsErrorReport) {
    script({0.0F}, 3);
    script({100.0F});
    const auto second = itemFor("/b.rec");
    reports->onStart = [&] {
        reports->onStart = nullptr;
        runner->scheduleJob(second);
    };
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->log, (Log{"start /a.rec", "progress 0.000000 /a.rec", "error 3 /a.rec", "start /b.rec",
                                 "progress 100.000000 /b.rec", "keep? /b.rec", "stop /b.rec", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TwoJobsBackToBackQueueOneStepAndRunInOrder) {
    script({100.0F});
    script({100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    trace.clear();
    runner->scheduleJob(itemFor("/b.rec"));
    EXPECT_EQ(trace.log(), Log{traced("scheduleJob:", "src_pid = 7, src_path = /b.rec")});
    EXPECT_EQ(queues.last().pendingCount(), 1U);
    queues.last().drain();
    EXPECT_EQ(reports->log,
              (Log{"start /a.rec", "progress 100.000000 /a.rec", "keep? /a.rec", "stop /a.rec", "start /b.rec",
                   "progress 100.000000 /b.rec", "keep? /b.rec", "stop /b.rec", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, AnErrorStillRunsTheNextJobAndTheFailedOneIsNotTriedAgain) {
    script({}, 9);
    script({100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    runner->scheduleJob(itemFor("/b.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->log, (Log{"start /a.rec", "error 9 /a.rec", "start /b.rec", "progress 100.000000 /b.rec",
                                 "keep? /b.rec", "stop /b.rec", "ran out"}));
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/b.rec"}) << "a failed job's file stays";
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 2U);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TheSameItemScheduledTwiceBeforeItRunsIsConvertedOnce) {
    const auto item = itemFor("/a.rec");
    const auto other = itemFor("/b.rec");
    runner->scheduleJob(item);
    runner->scheduleJob(other);
    runner->scheduleJob(item);
    queues.last().drain();
    ASSERT_EQ(ScriptedMediaConverter::requests().size(), 2U);
    EXPECT_EQ(ScriptedMediaConverter::requests()[0].source, "/a.rec");
    EXPECT_EQ(ScriptedMediaConverter::requests()[1].source, "/b.rec");
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TwoItemsOfOnePathAreTwoJobs) {
    runner->scheduleJob(itemFor("/a.rec"));
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 2U);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, PopFrontTakesTheOldestAndEveryEntryEqualToIt) {
    const auto first = itemFor("/a.rec");
    const auto second = itemFor("/b.rec");
    for (const auto& item : {first, second, first, second, first}) {
        runner->pushBack(item);
    }
    EXPECT_EQ(runner->popFront(), first);
    EXPECT_TRUE(runner->hasJobsWaiting());
    EXPECT_EQ(runner->popFront(), second);
    EXPECT_FALSE(runner->hasJobsWaiting());
    EXPECT_EQ(runner->popFront(), nullptr);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, EveryStepReplacesTheConverterEvenWhenNoJobFollows) {
    runner->scheduleJob(itemFor("/a.rec"));
    ASSERT_TRUE(queues.last().runNext());
    EXPECT_EQ(ScriptedMediaConverter::created(), 1U);
    EXPECT_EQ(ScriptedMediaConverter::released(), 0U) << "the converter of the last job stays until the next step";
    ASSERT_TRUE(queues.last().runNext());
    EXPECT_EQ(ScriptedMediaConverter::created(), 2U);
    EXPECT_EQ(ScriptedMediaConverter::released(), 1U);
    EXPECT_FALSE(queues.last().runNext());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TheOldMediaConverterIsReleasedBeforeTheNewOneIsMade) {
    runner->reCreateConverter();
    runner->reCreateConverter();
    EXPECT_EQ(ScriptedMediaConverter::lives(), (std::vector<std::string>{"created", "released", "created"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, RunNextJobOnlyQueues) {
    trace.clear();
    runner->runNextJob();
    EXPECT_EQ(trace.log(), Log{traced("runNextJob", "... ")});
    EXPECT_TRUE(reports->log.empty());
    queues.last().drain();
    EXPECT_EQ(reports->log, Log{"ran out"});
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, RunsOutAgainAfterEachBatch) {
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    runner->scheduleJob(itemFor("/b.rec"));
    queues.last().drain();
    EXPECT_EQ(std::count(reports->log.begin(), reports->log.end(), "ran out"), 2);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, WithoutAMediaConverterTheJobNeverEndsAndLaterItemsWait) {
    ScriptedMediaConverter::refuseCreation();
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->log, Log{"start /a.rec"});
    EXPECT_TRUE(runner->hasJobRunning());
    runner->scheduleJob(itemFor("/b.rec"));
    EXPECT_EQ(queues.last().drain(), 0U);
    EXPECT_TRUE(runner->hasJobsWaiting());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, ASecondStepQueuedBetweenTakingAndStartLosesNothing) {
    // The step has taken its item but has not reported the start yet: nothing waits and nothing runs, so scheduling
    // another item queues a second step. Nothing guards against this, on purpose.
    const auto second = itemFor("/b.rec");
    trace.setOnLine([&](const test::TraceLine& line) {
        if (line.text == "-[KTRMeetingRecordConvertingJobRunner convertItem:]: src_pid = 7, src_path = /a.rec") {
            trace.setOnLine(nullptr);
            EXPECT_FALSE(runner->hasJobRunning());
            runner->scheduleJob(second);
            EXPECT_EQ(queues.last().pendingCount(), 1U) << "a second step is queued";
        }
    });
    script({100.0F});
    script({100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->log,
              (Log{"start /a.rec", "progress 100.000000 /a.rec", "keep? /a.rec", "stop /a.rec", "start /b.rec",
                   "progress 100.000000 /b.rec", "keep? /b.rec", "stop /b.rec", "ran out", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TheOldConverterGoesBeforeTheNextJobIsTaken) {
    test::Sequence sequence;
    std::vector<bool> waiting;
    sequence.setOnEvent([&](const std::string& event) {
        if (event == "media converter: released") {
            waiting.push_back(runner->hasJobsWaiting());
        }
    });
    script({100.0F});
    script({100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    runner->scheduleJob(itemFor("/b.rec"));
    ASSERT_TRUE(queues.last().runNext());
    EXPECT_TRUE(waiting.empty());
    ASSERT_TRUE(queues.last().runNext());
    EXPECT_EQ(waiting, std::vector{true});
}

}  // namespace
