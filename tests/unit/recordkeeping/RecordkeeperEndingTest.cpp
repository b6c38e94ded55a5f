/// When the application may end, and that no job is forgotten before.

#include "KTRMeetingRecordItem.h"
#include "unit/recordkeeping/RecordkeeperTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using support::ScriptedMediaConverter;
using test::RecordkeeperTest;

TEST_F(RecordkeeperTest, ALaunchWithoutArgumentsStaysUp) {
    launch();
    EXPECT_FALSE(endsBySecond());
    EXPECT_EQ(fake.runLoop.validTimerCount(), 0U);
}

TEST_F(RecordkeeperTest, AJobThatWaitsAlthoughNoStepComesIsReached) {
    launch();
    start(7, "/one.mkv");
    // The state if the queue takes the last item between the check of the list and the push.
    fake.fileManager.addFile("/two.mkv");
    app->convertingJobRunner()->pushBack(std::make_shared<KTRMeetingRecordItem>(7, "/two.mkv", fake.fileManager));
    EXPECT_FALSE(keeper.mayTerminate());
    keeper.noteIdle();
    settle();
    EXPECT_EQ(converted(), Paths{"/two.mkv"});
    quit(7);
    EXPECT_TRUE(endsBySecond());
    EXPECT_EQ(converted(), (Paths{"/two.mkv", "/one.mkv"}));
}

TEST_F(RecordkeeperTest, TheEndIsDeclinedWhileAJobWaitsThatNoStepReaches) {
    launch();
    EXPECT_TRUE(keeper.mayTerminate());
    fake.fileManager.addFile("/one.mkv");
    app->convertingJobRunner()->pushBack(std::make_shared<KTRMeetingRecordItem>(7, "/one.mkv", fake.fileManager));
    EXPECT_FALSE(keeper.mayTerminate());
}

TEST_F(RecordkeeperTest, ACheckThatWasBegunAlthoughAMeetingRecordsIsStopped) {
    launch();
    start(7, "/one.mkv");
    // The state if a start comes between the count of the processes and the end of the arming.
    app->setBAllTaskFinished(true);
    keeper.noteIdle();
    settle();
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.runLoop.validTimerCount(), 0U) << "no tick while a meeting records";
    quit(7);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, TheEndIsDeclinedWhileAMeetingIsKnownOrAJobWaits) {
    launch();
    start(7, "/one.mkv");
    app->quitApp();
    EXPECT_EQ(fake.application.declinedCount(), 1U);
    quit(7);
    app->quitApp();
    EXPECT_EQ(fake.application.declinedCount(), 2U);
    settle();
    app->quitApp();
    EXPECT_EQ(fake.application.terminateSenders().size(), 1U);
}

TEST_F(RecordkeeperTest, ARunOutDuringAQuitStillEndsTheApplication) {
    launch();
    start(1, "/one.mkv");
    startWithoutFile(2);
    quit(1);
    EXPECT_TRUE(fake.serialQueues.last().runNext());
    trace.setOnLine([&](const test::TraceLine& line) {
        // The quitting process is still in the pool.
        if (line.text.find("remove process guard for pid = 2") != std::string::npos) {
            EXPECT_TRUE(fake.serialQueues.last().runNext());
        }
    });
    quit(2);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AMeetingThatLeavesWithoutFilesAfterTheRunOutEndsTheApplication) {
    launch();
    start(1, "/one.mkv");
    startWithoutFile(2);
    quit(1);
    settle();
    fake.bubbleMaker.closeAll();
    EXPECT_FALSE(endsBySecond());
    quit(2);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AMeetingThatNeverRecordsEndsTheApplication) {
    launch({"-pid", "7"});
    EXPECT_FALSE(endsBySecond());
    fake.exitWatch.exit(7);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, OneCheckTicksHoweverOftenTheJobsRunOut) {
    launch();
    start(1, "/one.mkv");
    quit(1);
    fake.serialQueues.last().drain();
    app->convertingJobRunner()->runNextJob();
    app->convertingJobRunner()->runNextJob();
    fake.serialQueues.last().drain();
    settle();
    EXPECT_GT(fake.runLoop.timers().size(), 1U);
    EXPECT_EQ(fake.runLoop.validTimerCount(), 1U);
    start(2, "/two.mkv");
    settle();
    EXPECT_EQ(fake.runLoop.validTimerCount(), 0U);
}

TEST_F(RecordkeeperTest, AnEndThatLeavesNothingSaysNothing) {
    launch();
    EXPECT_FALSE(keeper.noteEnding());
    EXPECT_FALSE(keeper.meetingWithoutRecording());
    start(7, "/a.mkv");
    EXPECT_FALSE(keeper.meetingWithoutRecording()) << "its entry brings it back";
    startWithoutFile(8);
    EXPECT_EQ(keeper.meetingWithoutRecording(), 8);
}

TEST_F(RecordkeeperTest, AStepTooManyReleasesNoMediaConverterThatWorksInTheBackground) {
    launch();
    ScriptedMediaConverter::script({.blocks = true, .onAnotherThread = true, .output = {}});
    start(7, "/a.mkv");
    start(8, "/b.mkv");
    quit(7);
    settle();
    ASSERT_TRUE(ScriptedMediaConverter::waitUntilBlocked());
    quit(8);
    app->convertingJobRunner()->runNextJob();
    settle();
    EXPECT_EQ(converted(), Paths{"/a.mkv"});
    EXPECT_FALSE(keeper.mayTerminate());
    ScriptedMediaConverter::unblock();
    ASSERT_TRUE(fake.serialQueues.last().waitForTask());
    settle();
    EXPECT_EQ(converted(), (Paths{"/a.mkv", "/b.mkv"}));
    EXPECT_EQ(ScriptedMediaConverter::abandoned(), 0U);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AJobInTheBackgroundIsWorkUntilItsOutcomeIsTold) {
    launch();
    ScriptedMediaConverter::script({.blocks = true, .onAnotherThread = true, .output = {}});
    start(7, "/a.mkv");
    quit(7);
    settle();
    ASSERT_TRUE(ScriptedMediaConverter::waitUntilBlocked());
    settle();
    EXPECT_TRUE(queues.isBusy()) << "no queue has a task, although a conversion is running";
    ScriptedMediaConverter::unblock();
    ASSERT_TRUE(fake.serialQueues.last().waitForTask());
    settle();
    EXPECT_FALSE(queues.isBusy());
    EXPECT_EQ(pending(), Paths{});
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AJobThatEndsTwiceIsOneJob) {
    launch();
    ScriptedMediaConverter::script({.progress = {0.0F, 100.0F, 100.0F}, .output = {}});
    start(7, "/a.mkv");
    quit(7);
    settle();
    EXPECT_FALSE(queues.isBusy());
    start(8, "/b.mkv");
    EXPECT_FALSE(queues.isBusy());
    quit(8);
    settle();
    EXPECT_EQ(converted(), (Paths{"/a.mkv", "/b.mkv"}));
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, TheEndNamesWhatIsLeft) {
    launch();
    start(7, "/a.mkv");
    EXPECT_TRUE(keeper.noteEnding());
    ASSERT_EQ(fake.systemLog.lines().size(), 1U);
    EXPECT_NE(fake.systemLog.lines()[0].find("/a.mkv"), std::string::npos);
    EXPECT_EQ(pending(), Paths{"/a.mkv"});
}

}  // namespace
