#include "AppDelegate.h"
#include "KTRMeetingRecordingSavedBubbleView.h"
#include "setAppLocale.h"
#include "support/FakePlatform.h"
#include "support/HeldSerialQueueMaker.h"
#include "support/MeetingNotifications.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::ScriptedMediaConverter;
using test::error;
using test::info;
using test::Log;

/// A whole meeting in one process, with the conversion on its own thread; every line of the trace is checked.
class MeetingTraceTest : public testing::Test {
protected:
    MeetingTraceTest() {
        ScriptedMediaConverter::reset();
        app = std::make_shared<AppDelegate>(fake.platformWith(queues), fake.bubbleMaker);
        fake.application.setDelegate(app);
        fake.processInformation.setProcessIdentifier(500);
    }

    ~MeetingTraceTest() override { queues.open(); }

    void launch(const std::vector<std::string>& arguments) {
        std::vector<const char*> vector;
        for (const auto& argument : arguments) {
            vector.push_back(argument.c_str());
        }
        setAppLocale(static_cast<int>(vector.size()), vector.data());
        fake.processInformation.setArguments(arguments);
        app->applicationDidFinishLaunching();
    }

    void deliver(const char* name, std::int32_t pid, const std::optional<std::string>& path = std::nullopt) {
        fake.distributedCenter.deliver(test::meetingNotification(name, pid, path));
    }

    void convertEverything() {
        queues.open();
        ASSERT_TRUE(trace.waitFor("-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]: "));
        queues.settle();
    }

    Log mainThread() const { return trace.log(std::this_thread::get_id()); }
    Log conversionThread() const { return trace.logWithout(std::this_thread::get_id()); }

    test::HeldSerialQueueMaker queues;
    test::RecordingTrace trace;
    test::FakePlatform fake;
    std::shared_ptr<AppDelegate> app;
};

TEST_F(MeetingTraceTest, AStartUpWithAFirstMeetingIsTracedLineByLine) {
    launch({"/opt/bin/record-converter", "-pid", "4711", "-pname", "meeting", "-locale", "9", "-path", "/rec/one.rec"});
    queues.open();
    const Log expected = {
        info("[App setAppLocale:]: (9)"),
        info("-[AppDelegate applicationDidFinishLaunching:]: begin"),
        info("-[KTRMeetingRecordConvertingJobRunner init]: "),
        info("-[KTRMeetingPool init]: "),
        info("-[KTRAppInlet init]: "),
        info("-[AppDelegate onStartUp], begin"),
        info("-[AppDelegate onStartUp]: localeId = 9"),
        info("-[AppDelegate onStartUp]: parent pid = 4711"),
        info("-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = 4711"),
        info("-[KTRMeetingPool meetingAppRepresentativeForProcess:]: instanticating new App Rep for pid = 4711"),
        info("-[KTRMeetingAppRepresentative initWithMeetingAppProcessId:]: pid = 4711"),
        info("-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = /rec/one.rec"),
        info("-[AppDelegate meetingPool:didReceiveJobFromProcess:writingTo:]: Received Job, src_pid = 4711, src_path = "
             "/rec/one.rec"),
        info("-[AppDelegate onStartUp]: FIRST file in FIRST meeting, /rec/one.rec"),
        info("-[AppDelegate onStartUp]: end"),
        info("-[AppDelegate applicationDidFinishLaunching:]: end"),
    };
    EXPECT_EQ(mainThread(), expected);
    EXPECT_EQ(conversionThread(), Log{});
}

TEST_F(MeetingTraceTest, AMeetingOfTwoRecordingsIsTracedLineByLineOnBothThreads) {
    fake.fileManager.addFile("/rec/one.rec");
    fake.fileManager.addFile("/rec/two.rec");
    ScriptedMediaConverter::script({.progress = {0.0F, 33.333F, 100.0F}, .error = {}, .output = {}});
    ScriptedMediaConverter::script({.progress = {100.0F}, .error = {}, .output = {}});
    launch({"/opt/bin/record-converter", "-pid", "4711", "-path", "/rec/one.rec"});
    trace.clear();

    deliver(kMeetingRecordNotificationName_RecordingStopped, 4711);
    deliver(kMeetingRecordNotificationName_RecordingStarted, 4711, "/rec/two.rec");
    deliver(kMeetingRecordNotificationName_RecordingStopped, 4711);
    deliver(kMeetingRecordNotificationName_MeetingAppQuit, 4711);
    const Log meeting = {
        info("-[KTRAppInlet onExternalNotification:]: kMeetingRecordNotificationName_RecordingStopped"),
        info("-[KTRAppInlet ackNotification:]: kMeetingRecordNotificationName_RecordingStopped, from p_id = 500, to "
             "p_id = 4711"),
        info("-[KTRMeetingAppRepresentative stopsLocalRecording]: "),
        info("-[AppDelegate meetingPool:didStashJobFromProcess:savedAt:]: Stashed Job, src_pid = 4711, src_path = "
             "/rec/one.rec"),
        info("-[KTRAppInlet onExternalNotification:]: kMeetingRecordNotificationName_RecordingStarted"),
        info("-[KTRAppInlet ackNotification:]: kMeetingRecordNotificationName_RecordingStarted, from p_id = 500, to "
             "p_id = 4711"),
        info("-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = 4711"),
        info("-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = /rec/two.rec"),
        info("-[AppDelegate meetingPool:didReceiveJobFromProcess:writingTo:]: Received Job, src_pid = 4711, src_path = "
             "/rec/two.rec"),
        info("-[KTRAppInlet onExternalNotification:]: kMeetingRecordNotificationName_RecordingStopped"),
        info("-[KTRAppInlet ackNotification:]: kMeetingRecordNotificationName_RecordingStopped, from p_id = 500, to "
             "p_id = 4711"),
        info("-[KTRMeetingAppRepresentative stopsLocalRecording]: "),
        info("-[AppDelegate meetingPool:didStashJobFromProcess:savedAt:]: Stashed Job, src_pid = 4711, src_path = "
             "/rec/two.rec"),
        info("-[KTRAppInlet onExternalNotification:]: kMeetingRecordNotificationName_MeetingAppQuit"),
        info("-[KTRAppInlet ackNotification:]: kMeetingRecordNotificationName_MeetingAppQuit, from p_id = 500, to p_id "
             "= 4711"),
        info("-[KTRProcessGuard removeGuardProcessWithPid:]: remove process guard for pid = 4711"),
        info("-[KTRMeetingAppRepresentative commencesConverting]: pid = 4711"),
        info("-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]: Scheduling Jobs, src_pid = "
             "4711"),
        info("-[KTRMeetingRecordConvertingJobRunner scheduleJob:]: src_pid = 4711, src_path = /rec/one.rec"),
        info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
        info("-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]_block_invoke: Scheduling Job, "
             "src_path = /rec/one.rec"),
        info("-[KTRMeetingRecordConvertingJobRunner scheduleJob:]: src_pid = 4711, src_path = /rec/two.rec"),
        info("-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]_block_invoke: Scheduling Job, "
             "src_path = /rec/two.rec"),
    };
    EXPECT_EQ(mainThread(), meeting);
    EXPECT_EQ(fake.systemLog.lines(), Log{"Meeting App Quit"});

    trace.clear();
    convertEverything();
    const std::string progress =
        "-[AppDelegate recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:]: cvt_progress = ";
    const Log conversion = {
        info("-[KTRMeetingRecordConvertingJobRunner convertItem:]: src_pid = 4711, src_path = /rec/one.rec"),
        info("-[AppDelegate recordConvertingJobRunner:didStartConvertingRecordItem:]: src_pid = 4711, src_path = "
             "/rec/one.rec"),
        info(progress + "0.00%"),
        info(progress + "33.33%"),
        info(progress + "100.00%"),
        info("-[KTRMeetingRecordConverter deleteIntermediateItem:]: "),
        info("-[AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:]: src_pid = 4711, src_path = "
             "/rec/one.rec"),
        info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
        info("-[KTRMeetingRecordConvertingJobRunner convertItem:]: src_pid = 4711, src_path = /rec/two.rec"),
        info("-[AppDelegate recordConvertingJobRunner:didStartConvertingRecordItem:]: src_pid = 4711, src_path = "
             "/rec/two.rec"),
        info(progress + "100.00%"),
        info("-[KTRMeetingRecordConverter deleteIntermediateItem:]: "),
        info("-[AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:]: src_pid = 4711, src_path = "
             "/rec/two.rec"),
        info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
        info("-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]: "),
    };
    EXPECT_EQ(conversionThread(), conversion);
    EXPECT_EQ(mainThread(), Log{}) << "nothing of the conversion is traced on the main thread before its queue runs";

    trace.clear();
    fake.mainQueue.drain();
    fake.runLoop.advance(1s);
    const auto bubbles = fake.bubbleMaker.bubbles();
    ASSERT_EQ(bubbles.size(), 3U);
    auto& first = dynamic_cast<KTRMeetingRecordingSavedBubbleView&>(*bubbles[1]->clientView());
    first.buttonsArray().at(0)->sendAction();
    fake.bubbleMaker.finishClosing();
    fake.bubbleMaker.postWillClose(*bubbles[2]);
    fake.runLoop.advance(1s);
    app->applicationWillTerminate();
    const Log ending = {
        info("-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]"),
        info("-[KTRConverterProcessNotificationMgr showConvertSucceedBubbleWithFilePath:] : /rec/one.mp4"),
        info("-[KTRConverterProcessNotificationMgr showConvertSucceedBubbleWithFilePath:] : /rec/two.mp4"),
        info("-[AppDelegate checkNeedQuitApp]: check all task finish 1, check report handled: 0"),
        info("-[KTRConverterProcessNotificationMgr meetingRecordingSavedBubbleViewRequestToClose:], bubble closed by "
             "user"),
        info("-[KTRConverterProcessNotificationMgr closeBubbleWithNotification:], remove bubble from bubbleArray"),
        info("-[KTRConverterProcessNotificationMgr closeBubbleWithNotification:], remove bubble from bubbleArray"),
        info("-[AppDelegate checkNeedQuitApp]: check all task finish 1, check report handled: 1"),
        info("-[AppDelegate quitApp]: "),
        info("-[AppDelegate applicationWillTerminate:]: begin"),
        info("-[AppDelegate applicationWillTerminate:]: doing nothing"),
        info("-[AppDelegate applicationWillTerminate:]: end"),
    };
    EXPECT_EQ(mainThread(), ending);
    EXPECT_EQ(conversionThread(), Log{});
    EXPECT_EQ(fake.application.terminateSenders().size(), 1U);
}

TEST_F(MeetingTraceTest, ADeathWithoutAWordAndAFailingConversionAreTracedLineByLine) {
    fake.fileManager.addFile("/rec/one.rec");
    ScriptedMediaConverter::script({.progress = {0.0F}, .error = 12, .output = {}});
    launch({"/opt/bin/record-converter", "-pid", "4711", "-path", "/rec/one.rec"});
    trace.clear();

    fake.exitWatch.exit(4711);
    const Log death = {
        info("NoteExitKQueueCallback: observe process exit pid 4711"),
        info("-[KTRMeetingAppRepresentative commencesConverting]: pid = 4711"),
        info("-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]: Scheduling Jobs, src_pid = "
             "4711"),
        info("-[KTRMeetingRecordConvertingJobRunner scheduleJob:]: src_pid = 4711, src_path = /rec/one.rec"),
        info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
        info("-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]_block_invoke: Scheduling Job, "
             "src_path = /rec/one.rec"),
    };
    EXPECT_EQ(mainThread(), death);

    trace.clear();
    convertEverything();
    const Log conversion = {
        info("-[KTRMeetingRecordConvertingJobRunner convertItem:]: src_pid = 4711, src_path = /rec/one.rec"),
        info("-[AppDelegate recordConvertingJobRunner:didStartConvertingRecordItem:]: src_pid = 4711, src_path = "
             "/rec/one.rec"),
        info("-[AppDelegate recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:]: cvt_progress = "
             "0.00%"),
        error("-[AppDelegate recordConvertingJobRunner:hitsConvertingError:forRecordItem:]: src_pid = 4711, src_path = "
              "/rec/one.rec, error = 12"),
        info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
        info("-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]: "),
    };
    EXPECT_EQ(conversionThread(), conversion);
    EXPECT_EQ(fake.systemLog.lines(), Log{"convert error 12"});
    EXPECT_TRUE(fake.fileManager.removed().empty()) << "a failed conversion's source stays";

    trace.clear();
    fake.mainQueue.drain();
    EXPECT_EQ(mainThread(), (Log{info("-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]"),
                                 info("-[KTRConverterProcessNotificationMgr showConvertFailedBubble]")}));
}

TEST_F(MeetingTraceTest, AJobScheduledBetweenTakingAndStartLosesNoRecordingAndTheApplicationEndsOnce) {
    fake.fileManager.addFile("/rec/one.rec");
    fake.fileManager.addFile("/rec/two.rec");
    launch({"/opt/bin/record-converter", "-pid", "4711", "-path", "/rec/one.rec"});
    deliver(kMeetingRecordNotificationName_RecordingStarted, 4712, "/rec/two.rec");

    // The conversion thread has taken the first item and waits before it reports the start.
    std::promise<void> taken;
    std::promise<void> scheduled;
    trace.setOnLine([this, &taken, &scheduled](const test::TraceLine& line) {
        if (line.text.ends_with("convertItem:]: src_pid = 4711, src_path = /rec/one.rec")) {
            trace.setOnLine(nullptr);
            taken.set_value();
            scheduled.get_future().wait();
        }
    });
    fake.exitWatch.exit(4711);
    queues.open();
    taken.get_future().wait();
    trace.clear();
    fake.exitWatch.exit(4712);
    const auto queuedSteps = mainThread();
    EXPECT_EQ(std::count(queuedSteps.begin(), queuedSteps.end(),
                         info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... ")),
              1)
        << "nothing waits and nothing runs yet, so a second step is queued";
    scheduled.set_value();

    const std::string ranOut = "-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]: ";
    ASSERT_TRUE(trace.waitFor(ranOut, 2));
    queues.settle();
    const auto conversion = conversionThread();
    EXPECT_EQ(std::count(conversion.begin(), conversion.end(), info(ranOut)), 2) << "twice, and never more";
    const auto requests = ScriptedMediaConverter::requests();
    ASSERT_EQ(requests.size(), 2U) << "each recording is converted once";
    EXPECT_EQ(requests[0].source, "/rec/one.rec");
    EXPECT_EQ(requests[1].source, "/rec/two.rec");
    EXPECT_EQ(fake.fileManager.removed(), (std::vector<std::string>{"/rec/one.rec", "/rec/two.rec"}));

    fake.mainQueue.drain();
    EXPECT_EQ(fake.bubbleMaker.bubbles().size(), 3U) << "the being-prepared bubble and two saved ones";
    fake.runLoop.advance(5s);
    EXPECT_TRUE(fake.application.terminateSenders().empty()) << "not before the user has seen both";
    fake.bubbleMaker.postWillClose(*fake.bubbleMaker.bubbles()[1]);
    fake.bubbleMaker.postWillClose(*fake.bubbleMaker.bubbles()[2]);
    fake.runLoop.advance(0.999s);
    EXPECT_TRUE(fake.application.terminateSenders().empty());
    fake.runLoop.advance(0.001s);
    // Two run-outs may have created two timers. Both fire in the same turn of the loop, which then ends, once.
    ASSERT_FALSE(fake.application.terminateSenders().empty());
    EXPECT_LE(fake.application.terminateSenders().size(), 2U);
}

}  // namespace
