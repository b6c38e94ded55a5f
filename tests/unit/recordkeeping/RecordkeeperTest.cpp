#include "recordkeeping/Recordkeeper.h"

#include "AppDelegate.h"
#include "KTRMeetingRecordItem.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/GatedSerialQueueMaker.h"
#include "recordkeeping/HandOverKeys.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakePlatform.h"
#include "support/FakeProcessIdentities.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using recordkeeping::PendingEntry;
using recordkeeping::PendingFolder;
using support::ScriptedMediaConverter;

/// The application within its recordkeeper, on a fake platform whose conversion queue runs when the test asks for it.
class RecordkeeperTest : public testing::Test {
protected:
    RecordkeeperTest() {
        ScriptedMediaConverter::reset();
        queues.setBusyHandler([this](bool busy) {
            if (!busy) {
                keeper.noteIdle();
            }
        });
        fake.exitWatch.setGoneHandler([this](std::int32_t pid) { keeper.noteGone(pid); });
        fake.application.setTerminationCheck([this] { return keeper.mayTerminate(); });
        fake.application.setDelegate(app);
        processes.start(fake.processInformation.processIdentifier());
    }

    ~RecordkeeperTest() override {
        // The application uses its recordkeeper while it is destroyed.
        fake.application.setDelegate(nullptr);
        std::filesystem::remove_all(home);
    }

    void launch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "/opt/bin/record-converter");
        fake.processInformation.setArguments(std::move(arguments));
        keeper.setApplication(app);
        app->applicationDidFinishLaunching();
        keeper.noteLaunched();
        settle();
    }

    static platform::UserInfo about(std::int32_t pid) {
        return {{kMeetingRecordNotificationKey_MeetingProcessId, pid}};
    }

    void start(std::int32_t pid, const std::string& path) {
        fake.fileManager.addFile(path);
        auto info = about(pid);
        info.emplace(kMeetingRecordNotificationKey_RecordIntermediatePath, path);
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, info});
    }

    void handOver(std::int32_t pid, const std::string& path, bool keep = false) {
        fake.fileManager.addFile(path);
        auto info = about(pid);
        info.emplace(kMeetingRecordNotificationKey_RecordIntermediatePath, path);
        info.emplace(recordkeeping::kHandedOverKey, true);
        info.emplace(recordkeeping::kKeepsIntermediateFileKey, keep);
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, info});
    }

    void startWithoutFile(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, about(pid)});
    }

    void stop(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStopped, std::nullopt, about(pid)});
    }

    void quit(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt, about(pid)});
    }

    /// The bus delivers the notifications it holds.
    void deliverBus() {
        while (!barriers.empty()) {
            const auto then = std::move(barriers.front());
            barriers.pop_front();
            then();
        }
    }

    /// Runs everything that can run without time passing.
    void settle() {
        std::size_t ran = 1;
        while (ran > 0) {
            deliverBus();
            ran = fake.mainQueue.drain();
            if (!fake.serialQueues.made().empty()) {
                ran += fake.serialQueues.last().drain();
            }
        }
    }

    void closeAllBubbles() {
        for (; closed < fake.bubbleMaker.bubbles().size(); ++closed) {
            fake.bubbleMaker.postWillClose(*fake.bubbleMaker.bubbles()[closed]);
        }
    }

    bool endsBySecond() {
        settle();
        closeAllBubbles();
        fake.runLoop.advance(1s);
        return !fake.application.terminateSenders().empty();
    }

    std::vector<std::string> converted() const {
        std::vector<std::string> sources;
        for (const auto& request : ScriptedMediaConverter::requests()) {
            sources.push_back(request.source);
        }
        return sources;
    }

    using Paths = std::vector<std::string>;

    static std::string temporaryFolder() {
        std::string name = "/tmp/record-converter-keeper-XXXXXX";
        return ::mkdtemp(name.data());
    }

    /// Creates what a converter that has ended leaves; `change` may modify the entry before it is written.
    void leave(
        const std::string& source, std::int32_t pid,
        const std::function<void(PendingEntry&)>& change = [](PendingEntry&) {}) {
        PendingEntry entry{
            source, processes.identityOf(pid), {99, 1, "boot"}, 1, false, PendingEntry::State::recording, 0, {}};
        change(entry);
        folder.add(entry);
        fake.fileManager.addFile(source);
    }

    Paths pending() {
        Paths sources;
        for (const auto& [name, entry] : folder.read()) {
            sources.push_back(entry.source);
        }
        return sources;
    }

    // Outlives the application, which traces its own end.
    test::RecordingTrace trace;
    test::FakePlatform fake;
    platform::GatedSerialQueueMaker gate{fake.serialQueues};
    platform::BusySerialQueueMaker queues{gate, fake.mainQueue};
    std::deque<std::function<void()>> barriers;
    std::vector<recordkeeping::WorkProgress> shown;
    std::string home = temporaryFolder();
    test::FakeBackgroundExecutor executor;
    test::FakeProcessIdentities processes;
    PendingFolder folder{home + "/pending", executor, fake.mainQueue};
    recordkeeping::Recordkeeper keeper{
        fake.platformWith(queues),
        {queues, gate, [this](std::function<void()> then) { barriers.push_back(std::move(then)); }, folder, processes,
         [this](const recordkeeping::WorkProgress& progress) { shown.push_back(progress); }}};
    std::shared_ptr<AppDelegate> app = std::make_shared<AppDelegate>(keeper.platformForApplication(), fake.bubbleMaker);
    std::size_t closed = 0;
};

TEST_F(RecordkeeperTest, ALaunchWithoutArgumentsStaysUp) {
    launch();
    EXPECT_FALSE(endsBySecond());
    EXPECT_EQ(fake.runLoop.validTimerCount(), 0U);
}

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

TEST_F(RecordkeeperTest, NoTerminationWhileAJobWaitsThatNoStepReaches) {
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

TEST_F(RecordkeeperTest, NoTerminationWhileAMeetingIsKnownOrAJobWaits) {
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
    closeAllBubbles();
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
