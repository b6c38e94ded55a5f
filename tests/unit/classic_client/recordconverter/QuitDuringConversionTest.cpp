/// A quit check that starts although a recording has just arrived. The application's order allows this, so the platform
/// refuses to terminate while the conversion queue has work.

#include "AppDelegate.h"
#include "platform/BusySerialQueueMaker.h"
#include "support/FakePlatform.h"
#include "support/MeetingNotifications.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using namespace std::chrono_literals;
using support::ScriptedMediaConverter;

class QuitDuringConversionTest : public testing::Test {
protected:
    QuitDuringConversionTest() {
        ScriptedMediaConverter::reset();
        app = std::make_shared<AppDelegate>(fake.platformWith(queues), fake.bubbleMaker);
        fake.application.setDelegate(app);
        fake.application.setTerminationCheck([this] { return !queues.isBusy(); });
        fake.processInformation.setArguments({"/opt/bin/record-converter"});
        app->applicationDidFinishLaunching();
    }

    void start(std::int32_t pid, const std::string& path) {
        fake.fileManager.addFile(path);
        fake.distributedCenter.deliver(
            test::meetingNotification(kMeetingRecordNotificationName_RecordingStarted, pid, path));
    }

    void quit(std::int32_t pid) {
        fake.distributedCenter.deliver(test::meetingNotification(kMeetingRecordNotificationName_MeetingAppQuit, pid));
    }

    /// Runs the oldest task of the conversion queue, and then the tasks that it has put on the main queue.
    void step() {
        ASSERT_TRUE(fake.serialQueues.last().runNext());
        fake.mainQueue.drain();
    }

    // Outlives the application, which traces its own end.
    bool isFirst = true;
    test::RecordingTrace trace;
    test::FakePlatform fake;
    platform::BusySerialQueueMaker queues{fake.serialQueues, fake.mainQueue};
    std::shared_ptr<AppDelegate> app;
};

TEST_F(QuitDuringConversionTest, IsDeclinedUntilTheUserHasSeenTheOutcome) {
    start(1, "/one.mkv");
    quit(1);
    step();
    fake.bubbleMaker.closeAll();
    // The pool has dropped the second process, and its file is not scheduled yet: now the runner finds no job.
    start(2, "/two.mkv");
    trace.setOnLine([&](const test::TraceLine& line) {
        if (isFirst && line.text.find("Scheduling Jobs, src_pid = 2") != std::string::npos) {
            isFirst = false;
            EXPECT_TRUE(fake.serialQueues.last().runNext());
        }
    });
    quit(2);
    ASSERT_FALSE(isFirst);
    fake.mainQueue.drain();
    ASSERT_TRUE(app->bAllTaskFinished()) << "the quit check has started although a recording waits";

    fake.runLoop.advance(3s);
    EXPECT_EQ(fake.application.declinedCount(), 3U);
    EXPECT_TRUE(fake.application.terminateSenders().empty());

    step();
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 2U);
    step();
    fake.runLoop.advance(2s);
    EXPECT_TRUE(fake.application.terminateSenders().empty()) << "the outcome is on the screen";
    EXPECT_EQ(fake.application.declinedCount(), 3U);
    fake.bubbleMaker.closeAll();
    fake.runLoop.advance(1s);
    EXPECT_EQ(fake.application.terminateSenders().size(), 1U);
}

}  // namespace
