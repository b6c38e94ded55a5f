#include "KTRMeetingRecordConvertingJobRunner.h"

#include "KTRMeetingRecordItem.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeFileManager.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"
#include "support/Sequence.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::info;
using test::Log;
using Item = std::shared_ptr<KTRMeetingRecordItem>;

const std::string runnerName = "KTRMeetingRecordConvertingJobRunner";

class Reports final : public KTRMeetingRecordConvertingJobRunnerDelegate {
public:
    void recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                               const Item& item) override {
        note("start", runner, item);
        if (onStart) {
            onStart();
        }
    }
    void recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                         double progress, const Item& item) override {
        note("progress " + std::to_string(progress), runner, item);
    }
    void recordConvertingJobRunnerDidStopConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                              const Item& item) override {
        note("stop", runner, item);
    }
    void recordConvertingJobRunnerHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                   int error, const Item& item) override {
        note("error " + std::to_string(error), runner, item);
    }
    void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner& runner) override {
        log.push_back("ran out");
        EXPECT_EQ(&runner, expectedRunner);
    }
    bool recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                              const Item& item) override {
        note("keep?", runner, item);
        return keeps;
    }

    Log log;
    std::vector<const KTRMeetingRecordItem*> items;
    std::vector<bool> running;
    const KTRMeetingRecordConvertingJobRunner* expectedRunner = nullptr;
    std::function<void()> onStart;
    bool keeps = false;

private:
    void note(const std::string& report, const KTRMeetingRecordConvertingJobRunner& runner, const Item& item) {
        EXPECT_EQ(&runner, expectedRunner) << "the first argument is the runner";
        log.push_back(report + ' ' + item->srcPath());
        items.push_back(item.get());
        running.push_back(runner.hasJobRunning());
    }
};

class KTRMeetingRecordConvertingJobRunnerTest : public testing::Test {
protected:
    KTRMeetingRecordConvertingJobRunnerTest() {
        ScriptedMediaConverter::reset();
        runner = std::make_shared<KTRMeetingRecordConvertingJobRunner>(queues, fileManager);
        reports->expectedRunner = runner.get();
        runner->setDelegate(reports);
    }

    Item itemFor(const std::string& path) {
        fileManager.addFile(path);
        return std::make_shared<KTRMeetingRecordItem>(7, path, fileManager);
    }

    static std::string traced(const std::string& method, const std::string& rest) {
        return info("-[" + runnerName + ' ' + method + "]: " + rest);
    }

    test::RecordingTrace trace;
    test::FakeFileManager fileManager;
    test::FakeSerialQueueMaker queues;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<KTRMeetingRecordConvertingJobRunner> runner;
};

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, MakesOneSerialQueueByItsLabelAndNoConverter) {
    EXPECT_EQ(trace.log(), Log{traced("init", "")});
    ASSERT_EQ(queues.made().size(), 1U);
    EXPECT_EQ(queues.made()[0].label, "ktrmp4recordingconvertqueue");
    EXPECT_EQ(ScriptedMediaConverter::created(), 0U);
    EXPECT_FALSE(runner->hasJobsWaiting());
    EXPECT_FALSE(runner->hasJobRunning());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, SchedulingReturnsBeforeAnythingIsConverted) {
    trace.clear();
    runner->scheduleJob(itemFor("/a.rec"));
    EXPECT_EQ(trace.log(),
              (Log{traced("scheduleJob:", "src_pid = 7, src_path = /a.rec"), traced("runNextJob", "... ")}));
    EXPECT_TRUE(reports->log.empty());
    EXPECT_TRUE(runner->hasJobsWaiting());
    EXPECT_EQ(queues.last().pendingCount(), 1U);
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, OneJobFromStartToRanOut) {
    script({0.0F, 50.0F, 100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    trace.clear();
    queues.last().drain();
    EXPECT_EQ(reports->log, (Log{"start /a.rec", "progress 0.000000 /a.rec", "progress 50.000000 /a.rec",
                                 "progress 100.000000 /a.rec", "keep? /a.rec", "stop /a.rec", "ran out"}));
    EXPECT_EQ(trace.log(),
              (Log{traced("convertItem:", "src_pid = 7, src_path = /a.rec"),
                   info("-[KTRMeetingRecordConverter deleteIntermediateItem:]: "), traced("runNextJob", "... ")}));
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a.rec"});
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, HasAJobRunningFromTheStartReportUntilTheStopReport) {
    script({0.0F, 100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    EXPECT_FALSE(runner->hasJobRunning()) << "queued is not running";
    queues.last().drain();
    // start, progress, progress, keep question, stop
    EXPECT_EQ(reports->running, (std::vector<bool>{true, true, true, true, false}));
    EXPECT_FALSE(runner->hasJobRunning());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, HasAJobRunningUntilTheErrorReport) {
    script({0.0F}, 4);
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_EQ(reports->running, (std::vector<bool>{true, true, false}));
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

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, ADelegateThatImplementsNoMethodLetsJobsRunAndFilesBeDeleted) {
    const auto nothing = std::make_shared<KTRMeetingRecordConvertingJobRunnerDelegate>();
    runner->setDelegate(nothing);
    script({0.0F, 100.0F});
    script({}, 2);
    runner->scheduleJob(itemFor("/a.rec"));
    runner->scheduleJob(itemFor("/b.rec"));
    queues.last().drain();
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a.rec"});
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 2U);
    EXPECT_FALSE(runner->hasJobsWaiting());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, WithoutADelegateJobsRunAndFilesAreDeleted) {
    runner->setDelegate(nullptr);
    script({100.0F});
    script({}, 2);
    runner->scheduleJob(itemFor("/a.rec"));
    runner->scheduleJob(itemFor("/b.rec"));
    queues.last().drain();
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a.rec"});
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TheKeepQuestionsAnswerDecides) {
    reports->keeps = true;
    script({100.0F});
    runner->scheduleJob(itemFor("/a.rec"));
    queues.last().drain();
    EXPECT_TRUE(fileManager.removed().empty());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, EveryReportCarriesTheVeryItemThatWasScheduled) {
    script({0.0F, 100.0F});
    script({0.0F}, 1);
    const auto first = itemFor("/a.rec");
    const auto second = itemFor("/b.rec");
    runner->scheduleJob(first);
    runner->scheduleJob(second);
    queues.last().drain();
    const auto* const a = first.get();
    const auto* const b = second.get();
    EXPECT_EQ(reports->items, (std::vector<const KTRMeetingRecordItem*>{a, a, a, a, a, b, b, b}));
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

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, ProgressFromAnotherThreadIsForwardedOnThatThread) {
    ScriptedMediaConverter::script({.progress = {0.0F, 100.0F}, .error = {}, .onAnotherThread = true, .output = {}});
    runner->scheduleJob(itemFor("/a.rec"));
    ASSERT_TRUE(queues.last().runNext());
    ASSERT_TRUE(queues.last().waitForTask());
    EXPECT_NE(trace.lines().back().thread, std::this_thread::get_id());
    queues.last().drain();
    EXPECT_EQ(reports->log, (Log{"start /a.rec", "progress 0.000000 /a.rec", "progress 100.000000 /a.rec",
                                 "keep? /a.rec", "stop /a.rec", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Reports> watched = reports;
    reports = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(runner->delegate(), nullptr);
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
