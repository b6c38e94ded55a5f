/// One job and its reports.

#include "unit/classic_client/recordconverter/KTRMeetingRecordConvertingJobRunnerTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::info;
using test::KTRMeetingRecordConvertingJobRunnerTest;
using test::Log;

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, MakesOneSerialQueueByItsLabelAndNoConverter) {
    EXPECT_EQ(trace.log(), Log{traced("init", "")});
    ASSERT_EQ(queues.made().size(), 1U);
    EXPECT_EQ(queues.made()[0].label, "ktrmp4recordingconvertqueue");
    EXPECT_EQ(ScriptedMediaConverter::created(), 0U);
    EXPECT_FALSE(runner->hasJobsWaiting());
    EXPECT_FALSE(runner->hasJobRunning());
}

TEST_F(KTRMeetingRecordConvertingJobRunnerTest, OneJobIsReportedFromItsStartUntilTheJobsRunOut) {
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

}  // namespace
