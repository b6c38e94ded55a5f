/// What the delegate does with the events of the job runner, and its answer whether a recording is kept.

#include "KTRAppLaunchingEnv.h"
#include "support/RecordItems.h"
#include "unit/classic_client/recordconverter/AppDelegateTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using support::ScriptedMediaConverter;
using test::AppDelegateTest;
using test::error;
using test::info;
using test::itemFor;
using test::Log;

bool keeps(AppDelegate& app) {
    return app.recordConvertingJobRunnderShouldKeepIntermediateItem(*app.convertingJobRunner(), nullptr);
}

TEST_F(AppDelegateTest, TheFirstStartAsksForTheBeingPreparedBubbleOnTheMainQueueAndNoLaterOneDoes) {
    wire();
    const auto item = itemFor("/a.rec", fake.fileManager);
    app->recordConvertingJobRunnerDidStartConvertingRecordItem(*app->convertingJobRunner(), item);
    EXPECT_EQ(trace.log(), Log{traced("recordConvertingJobRunner:didStartConvertingRecordItem:",
                                      ": src_pid = 7, src_path = /a.rec")});
    EXPECT_TRUE(app->showedFilePreparedBubble()) << "set at once";
    EXPECT_EQ(fake.mainQueue.pendingCount(), 1U);
    app->recordConvertingJobRunnerDidStartConvertingRecordItem(*app->convertingJobRunner(), item);
    EXPECT_EQ(fake.mainQueue.drain(), 1U);
    ASSERT_EQ(fake.bubbleMaker.bubbles().size(), 1U);
    EXPECT_EQ(manager()->filesPreparedBubble(), fake.bubbleMaker.bubbles()[0]);
}

TEST_F(AppDelegateTest, TheBeingPreparedFlagIsNeverResetDuringARun) {
    launch({"-pid", "1", "-path", "/a.rec"});
    fake.fileManager.addFile("/a.rec");
    fake.exitWatch.exit(1);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    deliver(kMeetingRecordNotificationName_RecordingStarted, 2, "/b.rec");
    fake.exitWatch.exit(2);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    EXPECT_TRUE(app->showedFilePreparedBubble());
    EXPECT_EQ(countInTrace(info("-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]")), 1U);
    app->setShowedFilePreparedBubble(false);
    EXPECT_FALSE(app->showedFilePreparedBubble());
}

TEST_F(AppDelegateTest, ProgressIsTracedWithTwoDecimalsAndShownToNobody) {
    wire();
    const auto item = itemFor("/a.rec", fake.fileManager);
    for (const double progress : {0.0, 12.345678, double{99.9F}, 100.0}) {
        app->recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(*app->convertingJobRunner(), progress,
                                                                             item);
    }
    const std::string method = "recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:";
    EXPECT_EQ(trace.log(),
              (Log{traced(method, ": cvt_progress = 0.00%"), traced(method, ": cvt_progress = 12.35%"),
                   traced(method, ": cvt_progress = 99.90%"), traced(method, ": cvt_progress = 100.00%")}));
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
    app->updateUI_ConvertingProgressForRecordItem(50, item);
    EXPECT_TRUE(fake.bubbleMaker.bubbles().empty());
}

TEST_F(AppDelegateTest, AStopReportsTheDestinationOnTheMainQueueReadWhenTheTaskRuns) {
    wire();
    auto item = itemFor("/a.rec", fake.fileManager);
    app->recordConvertingJobRunnerDidStopConvertingRecordItem(*app->convertingJobRunner(), item);
    EXPECT_EQ(trace.log(), Log{traced("recordConvertingJobRunner:didStopConvertingRecordItem:",
                                      ": src_pid = 7, src_path = /a.rec")});
    EXPECT_TRUE(fake.bubbleMaker.bubbles().empty());
    item->setDstPath("/changed meanwhile.mp4");
    const std::weak_ptr<KTRMeetingRecordItem> watched = item;
    item = nullptr;
    EXPECT_FALSE(watched.expired()) << "the item is kept until then";
    fake.mainQueue.drain();
    EXPECT_EQ(trace.log().back(), info("-[KTRConverterProcessNotificationMgr "
                                       "showConvertSucceedBubbleWithFilePath:] : /changed meanwhile.mp4"));
    EXPECT_TRUE(watched.expired());
}

TEST_F(AppDelegateTest, AFailureWithCode3GoesToTheSystemLogAndAsksForOneFailureBubble) {
    wire();
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), 3,
                                                                   itemFor("/a.rec", fake.fileManager));
    EXPECT_EQ(trace.log(), Log{error("-[AppDelegate recordConvertingJobRunner:hitsConvertingError:forRecordItem:]: "
                                     "src_pid = 7, src_path = /a.rec, error = 3")});
    EXPECT_EQ(fake.systemLog.lines(), Log{"convert error 3"});
    EXPECT_TRUE(fake.bubbleMaker.bubbles().empty()) << "on the main queue";
    EXPECT_EQ(fake.mainQueue.drain(), 1U);
    EXPECT_EQ(trace.log().back(), info("-[KTRConverterProcessNotificationMgr showConvertFailedBubble]"));
    EXPECT_EQ(fake.bubbleMaker.bubbles().size(), 1U);
}

TEST_F(AppDelegateTest, AFailureWithCode0IsTracedAndNothingIsShown) {
    wire();
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), 0,
                                                                   itemFor("/a.rec", fake.fileManager));
    EXPECT_EQ(trace.log(), Log{error("-[AppDelegate recordConvertingJobRunner:hitsConvertingError:forRecordItem:]: "
                                     "src_pid = 7, src_path = /a.rec, error = 0")});
    EXPECT_TRUE(fake.systemLog.lines().empty());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
}

TEST_F(AppDelegateTest, ANegativeCodeIsAFailureLikeAnyOther) {
    wire();
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), -1,
                                                                   itemFor("/a.rec", fake.fileManager));
    EXPECT_EQ(fake.systemLog.lines(), Log{"convert error -1"});
    EXPECT_EQ(fake.mainQueue.pendingCount(), 1U);
}

TEST_F(AppDelegateTest, KeepsIntermediateFilesByTheLowest8BitsOfTheFlag) {
    const std::vector<std::pair<std::string, bool>> answers = {
        {"1", true},    {"0", false},     {"255", true},        {"256", false},         {"257", true},
        {"512", false}, {"-1", true},     {"-256", false},      {"yes", false},         {"", false},
        {"128", true},  {"65536", false}, {"2147483647", true}, {"-2147483648", false}, {"99999999999", true}};
    for (const auto& [value, expected] : answers) {
        app->launchingEnv()->parseArguments({"-keepsIntermediateFile", value});
        EXPECT_EQ(keeps(*app), expected) << value;
    }
}

TEST_F(AppDelegateTest, WithoutTheOptionIntermediateFilesGoAndNothingIsTraced) {
    wire();
    EXPECT_FALSE(keeps(*app));
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(AppDelegateTest, AKeptIntermediateFileIsNotDeleted) {
    launch({"-pid", "1", "-path", "/a.rec", "-keepsIntermediateFile", "1"});
    fake.fileManager.addFile("/a.rec");
    fake.exitWatch.exit(1);
    fake.serialQueues.last().drain();
    EXPECT_TRUE(fake.fileManager.removed().empty());
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 1U);
}

}  // namespace
