#include "recordkeeping/Recordkeeper.h"

#include "AppDelegate.h"
#include "KTRMeetingRecordItem.h"
#include "platform/BusySerialQueueMaker.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakePlatform.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <chrono>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::ScriptedMediaConverter;

/// The application within its recordkeeper, on a fake platform whose conversion queue runs when the test says so.
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
        keeper.setApplication(app);
        fake.application.setDelegate(app);
    }

    ~RecordkeeperTest() override {
        // The application's end uses its recordkeeper.
        fake.application.setDelegate(nullptr);
    }

    void launch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "/opt/bin/record-converter");
        fake.processInformation.setArguments(std::move(arguments));
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

    void startWithoutFile(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, about(pid)});
    }

    void stop(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_RecordingStopped, std::nullopt, about(pid)});
    }

    void quit(std::int32_t pid) {
        fake.distributedCenter.deliver({kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt, about(pid)});
    }

    /// The bus delivers what it holds.
    void deliverBus() {
        while (!barriers.empty()) {
            const auto then = std::move(barriers.front());
            barriers.pop_front();
            then();
        }
    }

    /// Everything runs that can run without time passing.
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

    // Outlives the application, which traces its own end.
    test::RecordingTrace trace;
    test::FakePlatform fake;
    platform::BusySerialQueueMaker queues{fake.serialQueues, fake.mainQueue};
    std::deque<std::function<void()>> barriers;
    recordkeeping::Recordkeeper keeper{fake.platformWith(queues), queues,
                                       [this](std::function<void()> then) { barriers.push_back(std::move(then)); }};
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
    // What the queue's taking of the last item between the look at the list and the push leaves.
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

TEST_F(RecordkeeperTest, ACheckThatWasBegunAlthoughAMeetingRecordsIsStopped) {
    launch();
    start(7, "/one.mkv");
    // What a start between the count of the processes and the end of the arming leaves.
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

}  // namespace
