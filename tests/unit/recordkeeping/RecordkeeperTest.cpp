/// Meetings that come and go while the recordkeeper runs: exits, stray stops, recordings that are handed over.

#include "unit/recordkeeping/RecordkeeperTest.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

using support::ScriptedMediaConverter;
using test::RecordkeeperTest;

TEST_F(RecordkeeperTest, AProcessThatIsGoneAtTheLaunchHasItsRecordingConvertedAtOnce) {
    fake.exitWatch.exit(7);
    fake.fileManager.addFile("/talk.mkv");
    launch({"-pid", "7", "-path", "/talk.mkv"});
    EXPECT_EQ(converted(), Paths{"/talk.mkv"});
    EXPECT_TRUE(app->meetingPool()->processGuard()->guardProcessIdArr().empty());
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AProcessThatDiesWithItsFirstNotificationHasItsRecordingConvertedAtOnce) {
    launch();
    fake.exitWatch.exit(7);
    start(7, "/talk.mkv");
    settle();
    EXPECT_EQ(converted(), Paths{"/talk.mkv"});
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, WhatAGoneProcessStillSaysIsTakenFirst) {
    launch();
    fake.exitWatch.exit(7);
    start(7, "/one.mkv");
    stop(7);
    start(7, "/two.mkv");
    settle();
    EXPECT_EQ(converted(), (Paths{"/one.mkv", "/two.mkv"}));
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AnExitIsReportedAfterEverythingThatTheProcessSent) {
    launch();
    start(7, "/one.mkv");
    fake.exitWatch.exit(7);
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U) << "not before the bus has delivered";
    stop(7);
    start(7, "/two.mkv");
    settle();
    EXPECT_EQ(converted(), (Paths{"/one.mkv", "/two.mkv"}));
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AnExitThatWasReportedIsNoQuitAsWell) {
    launch();
    start(7, "/one.mkv");
    fake.exitWatch.exit(7);
    settle();
    EXPECT_TRUE(fake.systemLog.lines().empty()) << "a client that quits is logged";
    EXPECT_EQ(converted(), Paths{"/one.mkv"});
}

TEST_F(RecordkeeperTest, TheUserIsShownWhatIsConvertedAndWhatWaits) {
    using recordkeeping::WorkProgress;
    ScriptedMediaConverter::script({.progress = {45.4F, 100.0F}, .blocks = true, .onAnotherThread = true});
    launch();
    start(7, "/one.mkv");
    stop(7);
    start(7, "/two.mkv");
    fake.exitWatch.exit(7);
    settle();
    ASSERT_TRUE(ScriptedMediaConverter::waitUntilBlocked());
    settle();
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown.back(), (WorkProgress{"/one.mkv", 45, {"/two.mkv"}}));
    ScriptedMediaConverter::unblock();
    while (shown.back() != WorkProgress{} || converted().size() < 2) {
        ASSERT_TRUE(fake.mainQueue.waitForTask());
        settle();
    }
}

TEST_F(RecordkeeperTest, AStopWithoutAStartLeavesNothingBehindOnceItsProcessIsGone) {
    launch();
    stop(7);
    settle();
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U) << "it lives, and may start yet";
    fake.exitWatch.exit(7);
    settle();
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AStopFromNoProcessLeavesNothingBehind) {
    launch();
    for (const std::int32_t pid : {0, -5, 8}) {
        fake.exitWatch.exit(pid);
        stop(pid);
    }
    settle();
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
}

TEST_F(RecordkeeperTest, AStartAfterAStrayStopLosesNothing) {
    launch();
    stop(7);
    start(7, "/talk.mkv");
    settle();
    EXPECT_TRUE(converted().empty());
    fake.exitWatch.exit(7);
    settle();
    EXPECT_EQ(converted(), Paths{"/talk.mkv"});
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, WhatItSaysItselfIsAnsweredToNobody) {
    launch();
    fake.exitWatch.exit(7);
    start(7, "/talk.mkv");
    fake.distributedCenter.clearPosted();
    settle();
    EXPECT_TRUE(fake.distributedCenter.posted().empty());
    EXPECT_EQ(converted().size(), 1U);
}

TEST_F(RecordkeeperTest, AHandedOverFileStopsTheOneBeforeIt) {
    fake.fileManager.addFile("/a.mkv");
    launch({"-pid", "7", "-path", "/a.mkv"});
    handOver(7, "/b.mkv");
    EXPECT_EQ(pending(), (Paths{"/a.mkv", "/b.mkv"}));
    handOver(7, "/b.mkv");
    EXPECT_EQ(pending(), (Paths{"/a.mkv", "/b.mkv"}));
    fake.exitWatch.exit(7);
    settle();
    EXPECT_EQ(converted(), (Paths{"/a.mkv", "/b.mkv"}));
}

TEST_F(RecordkeeperTest, AHandedOverFileIsKeptWhenItsLaunchSaysSo) {
    fake.fileManager.addFile("/a.mkv");
    launch({"-pid", "7", "-path", "/a.mkv"});
    handOver(8, "/b.mkv", true);
    quit(8);
    quit(7);
    settle();
    EXPECT_TRUE(fake.fileManager.fileExistsAtPath("/b.mkv", nullptr));
    EXPECT_FALSE(fake.fileManager.fileExistsAtPath("/a.mkv", nullptr));
}

}  // namespace
