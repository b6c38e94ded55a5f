/// What the delegate does with the events of the meeting pool.

#include "unit/classic_client/recordconverter/AppDelegateTest.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::ScriptedMediaConverter;
using test::AppDelegateTest;
using test::info;
using test::Log;
using Paths = std::vector<std::string>;

void request(AppDelegate& app, std::int32_t pid, const Paths& paths) {
    app.meetingPoolDidReceiveRequestFromProcessToConvertRecords(*app.meetingPool(), pid, paths);
}

TEST_F(AppDelegateTest, AReceivedJobIsTracedAndStopsTheQuitCheckBeforeAnyTickCanQuit) {
    wire();
    runOut();
    fake.mainQueue.drain();
    trace.clear();
    fake.runLoop.advance(0.5s);
    app->meetingPoolDidReceiveJobFromProcessWritingTo(*app->meetingPool(), 4711, "/rec/one.rec");
    EXPECT_EQ(trace.log(), Log{traced("meetingPool:didReceiveJobFromProcess:writingTo:",
                                      ": Received Job, src_pid = 4711, src_path = /rec/one.rec")});
    EXPECT_FALSE(app->bAllTaskFinished());
    fake.runLoop.advance(60s);
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, AStashedJobIsTracedAndNothingElse) {
    wire();
    runOut();
    fake.mainQueue.drain();
    trace.clear();
    app->meetingPoolDidStashJobFromProcessSavedAt(*app->meetingPool(), 4711, "/rec/one.rec");
    EXPECT_EQ(trace.log(), Log{traced("meetingPool:didStashJobFromProcess:savedAt:",
                                      ": Stashed Job, src_pid = 4711, src_path = /rec/one.rec")});
    EXPECT_TRUE(app->bAllTaskFinished()) << "a stash does not disarm the check";
    EXPECT_EQ(fake.serialQueues.last().pendingCount(), 0U);
}

TEST_F(AppDelegateTest, AbsentPathsInPoolEventsAreTracedAsAbsentTexts) {
    wire();
    app->meetingPoolDidReceiveJobFromProcessWritingTo(*app->meetingPool(), 1, std::nullopt);
    app->meetingPoolDidStashJobFromProcessSavedAt(*app->meetingPool(), 2, std::nullopt);
    EXPECT_EQ(trace.log(), (Log{traced("meetingPool:didReceiveJobFromProcess:writingTo:",
                                       ": Received Job, src_pid = 1, src_path = (null)"),
                                traced("meetingPool:didStashJobFromProcess:savedAt:",
                                       ": Stashed Job, src_pid = 2, src_path = (null)")}));
}

TEST_F(AppDelegateTest, ARequestSchedulesItsPathsInOrderEachFollowedByItsLine) {
    wire();
    request(*app, 7, {"/a.rec", "/b.rec"});
    const std::string requestMethod = "meetingPool:didReceiveRequestFromProcess:toConvertRecords:";
    const std::string schedule = "-[KTRMeetingRecordConvertingJobRunner scheduleJob:]: ";
    EXPECT_EQ(trace.log(), (Log{traced(requestMethod, ": Scheduling Jobs, src_pid = 7"),
                                info(schedule + "src_pid = 7, src_path = /a.rec"),
                                info("-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "),
                                traced(requestMethod, "_block_invoke: Scheduling Job, src_path = /a.rec"),
                                info(schedule + "src_pid = 7, src_path = /b.rec"),
                                traced(requestMethod, "_block_invoke: Scheduling Job, src_path = /b.rec")}));
}

TEST_F(AppDelegateTest, AnEmptyRequestSchedulesNothing) {
    wire();
    request(*app, 7, {});
    EXPECT_EQ(trace.log(), Log{traced("meetingPool:didReceiveRequestFromProcess:toConvertRecords:",
                                      ": Scheduling Jobs, src_pid = 7")});
    EXPECT_EQ(fake.serialQueues.last().pendingCount(), 0U);
}

TEST_F(AppDelegateTest, ExhaustionOfThePoolOnlyTraces) {
    wire();
    app->meetingPoolDidExhaust(*app->meetingPool());
    EXPECT_EQ(trace.log(), Log{traced("meetingPoolDidExhaust:", ": ")});
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
}

TEST_F(AppDelegateTest, TwoProcessesWithTwoFilesEachGiveFourItemsInOrderAndOneBeingPreparedBubble) {
    wire();
    for (const char* const path : {"/1a", "/1b", "/2a", "/2b"}) {
        fake.fileManager.addFile(path);
    }
    request(*app, 1, {"/1a", "/1b"});
    request(*app, 2, {"/2a", "/2b"});
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    Paths sources;
    for (const auto& conversion : ScriptedMediaConverter::requests()) {
        sources.push_back(conversion.source);
    }
    EXPECT_EQ(sources, (Paths{"/1a", "/1b", "/2a", "/2b"}));
    EXPECT_EQ(countInTrace(info("-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]")), 1U);
    EXPECT_EQ(fake.bubbleMaker.bubbles().size(), 5U);
}

TEST_F(AppDelegateTest, AStoppedMeetingsFilesAreNotConvertedBeforeItQuits) {
    launch({"-pid", "1", "-path", "/one.rec"});
    deliver(kMeetingRecordNotificationName_RecordingStopped, 1);
    EXPECT_EQ(fake.serialQueues.last().drain(), 0U);
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
}

}  // namespace
