/// The entries on the disk: what an ended converter left, and what becomes of it.

#include "unit/recordkeeping/RecordkeeperTest.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using recordkeeping::PendingEntry;
using support::ScriptedMediaConverter;
using test::RecordkeeperTest;

TEST_F(RecordkeeperTest, ARecordingIsOnTheDiskBeforeItIsAcknowledged) {
    launch();
    bool wasPending = false;
    fake.distributedCenter.setOnPost([&](const auto&) { wasPending = pending() == Paths{"/a.mkv"}; });
    start(7, "/a.mkv");
    EXPECT_TRUE(wasPending);
}

TEST_F(RecordkeeperTest, TheRecordingOfTheLaunchIsOnTheDiskBeforeTheLaunchIsConfirmed) {
    bool wasPending = false;
    fake.distributedCenter.setOnPost([&](const auto&) { wasPending = pending() == Paths{"/a.mkv"}; });
    launch({"-pid", "7", "-path", "/a.mkv"});
    EXPECT_TRUE(wasPending);
}

TEST_F(RecordkeeperTest, ARecordingIsForgottenOnceItsOutcomeIsTold) {
    launch();
    start(7, "/a.mkv");
    quit(7);
    fake.serialQueues.last().drain();
    EXPECT_EQ(pending(), Paths{"/a.mkv"}) << "the bubble is not shown yet";
    settle();
    EXPECT_TRUE(pending().empty());
}

TEST_F(RecordkeeperTest, AFailureIsAnOutcome) {
    launch();
    ScriptedMediaConverter::script({.progress = {0.0F}, .error = 3});
    start(7, "/a.mkv");
    quit(7);
    settle();
    EXPECT_TRUE(pending().empty());
}

TEST_F(RecordkeeperTest, WhatAnEndedConverterLeftIsConvertedOnceAndTheApplicationEnds) {
    leave("/a.mkv", 7);
    leave("/b.mkv", 7);
    leave("/c.mkv", 8);
    launch();
    EXPECT_EQ(converted(), (Paths{"/a.mkv", "/b.mkv", "/c.mkv"}));
    EXPECT_TRUE(pending().empty());
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, AnIdThatAnotherProcessHasGotIsNotUsed) {
    leave("/a.mkv", 7);
    processes.start(7);
    launch({"-pid", "7", "-path", "/mine.mkv"});
    EXPECT_EQ(converted(), Paths{"/a.mkv"});
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U);
}

TEST_F(RecordkeeperTest, AMeetingThatLivesIsTakenUpAgainAsItWas) {
    processes.start(7);
    leave("/a.mkv", 7, [](PendingEntry& entry) { entry.state = PendingEntry::State::written; });
    leave("/b.mkv", 7);
    launch();
    EXPECT_TRUE(converted().empty());
    stop(7);
    start(7, "/c.mkv");
    fake.exitWatch.exit(7);
    settle();
    EXPECT_EQ(converted(), (Paths{"/a.mkv", "/b.mkv", "/c.mkv"}));
    EXPECT_TRUE(pending().empty());
}

TEST_F(RecordkeeperTest, AMeetingThatHasQuitIsNotWaitedForAlthoughItsProcessLives) {
    processes.start(7);
    leave("/a.mkv", 7, [](PendingEntry& entry) { entry.state = PendingEntry::State::due; });
    launch();
    EXPECT_EQ(converted(), Paths{"/a.mkv"});
}

TEST_F(RecordkeeperTest, ALaunchForTheVeryRecordingThatWasLeftIsOneEntryAndOneConversion) {
    processes.start(7);
    leave("/a.mkv", 7);
    launch({"-pid", "7", "-path", "/a.mkv"});
    EXPECT_EQ(pending(), Paths{"/a.mkv"});
    fake.exitWatch.exit(7);
    settle();
    EXPECT_EQ(converted(), Paths{"/a.mkv"});
}

TEST_F(RecordkeeperTest, WhatWasSavedBeforeTheEndIsToldAndNotConvertedAgain) {
    leave("/a.mkv", 7, [](PendingEntry& entry) {
        entry.attempts = 1;
        entry.destination = "/a.mp4";
    });
    fake.fileManager.addFile("/a.mp4");
    launch();
    EXPECT_TRUE(converted().empty());
    EXPECT_EQ(fake.bubbleMaker.bubbles().size(), 1U);
    EXPECT_TRUE(pending().empty());
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, WhatHasEndedTheConverterTwiceIsLeftAndReportedOnce) {
    leave("/a.mkv", 7, [](PendingEntry& entry) {
        entry.attempts = 2;
        entry.destination = "/a.mp4";
    });
    launch();
    EXPECT_TRUE(converted().empty());
    EXPECT_EQ(pending(), Paths{"/a.mkv"});
    EXPECT_EQ(fake.bubbleMaker.bubbles().size(), 1U);
    EXPECT_EQ(folder.read()[0].second.state, PendingEntry::State::left);
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, ARecordingThatIsGoneIsNotWaitedFor) {
    leave("/a.mkv", 7);
    fake.fileManager.removeItemAtPath("/a.mkv");
    launch();
    EXPECT_TRUE(converted().empty());
    EXPECT_TRUE(pending().empty());
    EXPECT_TRUE(fake.bubbleMaker.bubbles().empty());
    EXPECT_TRUE(endsBySecond()) << "a login may have started it for this one alone";
}

TEST_F(RecordkeeperTest, AnotherConvertersRecordingsAreTakenOverWhenItEnds) {
    processes.start(99);
    leave("/a.mkv", 7, [this](PendingEntry& entry) { entry.converter = processes.identityOf(99); });
    launch();
    EXPECT_TRUE(converted().empty());
    processes.end(99);
    fake.exitWatch.exit(99);
    settle();
    EXPECT_EQ(converted(), Paths{"/a.mkv"});
    EXPECT_TRUE(endsBySecond());
}

TEST_F(RecordkeeperTest, ARecordingIsKeptThatWasAnnouncedSo) {
    leave("/a.mkv", 7, [](PendingEntry& entry) { entry.keep = true; });
    leave("/b.mkv", 7);
    launch();
    EXPECT_TRUE(fake.fileManager.fileExistsAtPath("/a.mkv", nullptr));
    EXPECT_FALSE(fake.fileManager.fileExistsAtPath("/b.mkv", nullptr));
    EXPECT_TRUE(pending().empty());
}

TEST_F(RecordkeeperTest, ARecordingsLanguageIsThatOfItsAnnouncement) {
    leave("/a.mkv", 7, [](PendingEntry& entry) { entry.language = 9; });
    launch({"-locale", "1", "-pname", "x"});
    EXPECT_EQ(fake.userDefaults.stringList("AppleLanguages"), (std::vector<std::string>{"de", "en"}));
}

}  // namespace
