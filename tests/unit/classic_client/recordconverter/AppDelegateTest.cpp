#include "AppDelegate.h"

#include "KTRAppInlet.h"
#include "KTRAppLaunchingEnv.h"
#include "KTRConverterProcessNotificationMgr.h"
#include "KTRMeetingRecordItem.h"
#include "platform/ui/ImageView.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakePlatform.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"
#include "support/Sequence.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using platform::UserInfo;
using support::ScriptedMediaConverter;
using test::error;
using test::info;
using test::Log;
using Paths = std::vector<std::string>;
using Item = std::shared_ptr<KTRMeetingRecordItem>;

std::string traced(const std::string& method, const std::string& rest) {
    return info("-[AppDelegate " + method + "]" + rest);
}

std::string check(int finished, int handled) {
    return traced("checkNeedQuitApp", ": check all task finish " + std::to_string(finished) +
                                          ", check report handled: " + std::to_string(handled));
}

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() {
        ScriptedMediaConverter::reset();
        app = std::make_shared<AppDelegate>(fake.platform(), fake.bubbleMaker);
        fake.application.setDelegate(app);
    }

    void launch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "/opt/bin/record-converter");
        fake.processInformation.setArguments(arguments);
        app->applicationDidFinishLaunching();
    }

    /// Sets the delegates of the runner and of the pool, without a start-up.
    void wire() {
        app->convertingJobRunner()->setDelegate(app);
        app->meetingPool()->setDelegate(app);
        trace.clear();
    }

    Item itemFor(const std::string& path) {
        fake.fileManager.addFile(path);
        return std::make_shared<KTRMeetingRecordItem>(7, path, fake.fileManager);
    }

    void request(std::int32_t pid, const Paths& paths) {
        app->meetingPoolDidReceiveRequestFromProcessToConvertRecords(*app->meetingPool(), pid, paths);
    }

    void runOut() { app->recordConvertingJobRunnerDidRunOutOfJobs(*app->convertingJobRunner()); }

    bool keeps() {
        return app->recordConvertingJobRunnderShouldKeepIntermediateItem(*app->convertingJobRunner(), nullptr);
    }

    void deliver(const char* name, std::int32_t pid, const std::optional<std::string>& path = std::nullopt) {
        UserInfo userInfo{{kMeetingRecordNotificationKey_MeetingProcessId, pid}};
        if (path) {
            userInfo[kMeetingRecordNotificationKey_RecordIntermediatePath] = *path;
        }
        fake.distributedCenter.deliver({name, std::nullopt, userInfo});
    }

    std::size_t terminations() const { return fake.application.terminateSenders().size(); }

    std::shared_ptr<KTRConverterProcessNotificationMgr> manager() {
        return std::dynamic_pointer_cast<KTRConverterProcessNotificationMgr>(app->converterReporter());
    }

    std::size_t countInTrace(const std::string& line) const {
        const auto log = trace.log();
        return static_cast<std::size_t>(std::count(log.begin(), log.end(), line));
    }

    test::RecordingTrace trace;
    test::FakePlatform fake;
    std::shared_ptr<AppDelegate> app;
};

// Start-up

TEST_F(AppDelegateTest, BeginsWithNothingDone) {
    EXPECT_FALSE(app->showedFilePreparedBubble());
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(app->statusItem(), nullptr);
    EXPECT_EQ(app->checkNeedTerminateTimer(), nullptr);
    EXPECT_TRUE(trace.log().empty());
    EXPECT_TRUE(fake.serialQueues.made().empty());
}

TEST_F(AppDelegateTest, EachGetterMakesItsObjectOnceAndGivesTheVerySameEverAfter) {
    EXPECT_EQ(app->convertingJobRunner().get(), app->convertingJobRunner().get());
    EXPECT_EQ(app->appInlet().get(), app->appInlet().get());
    EXPECT_EQ(app->meetingPool().get(), app->meetingPool().get());
    EXPECT_EQ(app->launchingEnv().get(), app->launchingEnv().get());
    EXPECT_EQ(app->converterReporter().get(), app->converterReporter().get());
    EXPECT_NE(manager(), nullptr) << "the reporter is the bubble manager";
    EXPECT_EQ(fake.serialQueues.made().size(), 1U);
}

TEST_F(AppDelegateTest, EachGetterGivesTheObjectThatWasSet) {
    const auto runner = std::make_shared<KTRMeetingRecordConvertingJobRunner>(fake.serialQueues, fake.fileManager);
    const auto inlet = std::make_shared<KTRAppInlet>(fake.distributedCenter, fake.processInformation);
    const auto pool = KTRMeetingPool::create(fake.exitWatch);
    const auto environment = std::make_shared<KTRAppLaunchingEnv>();
    const auto reporter = app->converterReporter();
    app->setConvertingJobRunner(runner);
    app->setAppInlet(inlet);
    app->setMeetingPool(pool);
    app->setLaunchingEnv(environment);
    app->setConverterReporter(nullptr);
    EXPECT_EQ(app->convertingJobRunner(), runner);
    EXPECT_EQ(app->appInlet(), inlet);
    EXPECT_EQ(app->meetingPool(), pool);
    EXPECT_EQ(app->launchingEnv(), environment);
    EXPECT_NE(app->converterReporter(), reporter) << "another is made once this one is taken away";
}

TEST_F(AppDelegateTest, TheWindowIsNotKeptAlive) {
    auto window = std::make_shared<platform::ui::View>();
    app->setWindow(window);
    EXPECT_EQ(app->window(), window);
    window.reset();
    EXPECT_EQ(app->window(), nullptr);
}

TEST_F(AppDelegateTest, TheQuitCheckDoesNothingOnceTheDelegateIsGone) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    ASSERT_NE(timer, nullptr);
    fake.application.setDelegate(nullptr);
    app.reset();
    trace.clear();
    fake.runLoop.advance(2s);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(AppDelegateTest, LaunchingShowsAStatusItemOfVariableLengthWithTheBallAndHighlight) {
    launch();
    ASSERT_EQ(fake.statusBar.items().size(), 1U);
    const auto& item = *fake.statusBar.items()[0];
    EXPECT_EQ(app->statusItem(), fake.statusBar.items()[0]);
    EXPECT_EQ(item.length(), -1);
    EXPECT_TRUE(item.highlightMode());
    const auto view = std::dynamic_pointer_cast<platform::ui::ImageView>(item.view());
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->frame(), (platform::ui::Rect{0, 0, 20, 20}));
    EXPECT_EQ(view->image(), fake.images.imageNamed("corvoball"));
}

TEST_F(AppDelegateTest, TheStatusItemComesBeforeTheRunnerThePoolAndTheInlet) {
    const test::Sequence sequence;
    launch();
    for (const std::string made :
         {"KTRMeetingRecordConvertingJobRunner init", "KTRMeetingPool init", "KTRAppInlet init"}) {
        EXPECT_TRUE(sequence.isBefore("status bar: item", "trace: -[" + made)) << made;
    }
}

TEST_F(AppDelegateTest, TheFlagChangesAfterTheTimer) {
    test::Sequence sequence;
    std::vector<bool> flags;
    sequence.setOnEvent([&](const std::string& event) {
        if (event == "queue: task" || event == "timer: invalidate") {
            flags.push_back(app->bAllTaskFinished());
        }
    });
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    app->setBAllTaskFinished(false);
    EXPECT_EQ(flags, (std::vector{false, true}));
}

TEST_F(AppDelegateTest, RunningOutIsTracedBeforeTheCheckIsArmed) {
    wire();
    const test::Sequence sequence;
    runOut();
    EXPECT_TRUE(sequence.isBefore("trace: -[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]", "queue: task"));
}

TEST_F(AppDelegateTest, QuittingIsTracedBeforeTheEndIsAskedFor) {
    const test::Sequence sequence;
    app->quitApp();
    EXPECT_TRUE(sequence.isBefore("trace: -[AppDelegate quitApp]", "application: terminate"));
}

TEST_F(AppDelegateTest, LaunchingWiresRunnerPoolAndInlet) {
    launch();
    EXPECT_EQ(app->convertingJobRunner()->delegate(), app);
    EXPECT_EQ(app->meetingPool()->delegate(), app);
    EXPECT_EQ(app->appInlet()->delegate(), app->meetingPool());
}

TEST_F(AppDelegateTest, LaunchedWithNoArgumentsItConfirmsToProcessZeroAndRegistersNothingAndStaysUp) {
    launch();
    EXPECT_EQ(trace.log(), (Log{traced("applicationDidFinishLaunching:", ": begin"),
                                info("-[KTRMeetingRecordConvertingJobRunner init]: "), info("-[KTRMeetingPool init]: "),
                                info("-[KTRAppInlet init]: "), traced("onStartUp", ", begin"),
                                traced("onStartUp", ": localeId = 0"), traced("onStartUp", ": parent pid = 0"),
                                traced("onStartUp", ": end"), traced("applicationDidFinishLaunching:", ": end")}));
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
    EXPECT_TRUE(fake.exitWatch.watched().empty());
    fake.runLoop.advance(3600s);
    EXPECT_EQ(terminations(), 0U) << "until some later job runs out while the pool is empty";
    EXPECT_TRUE(fake.runLoop.timers().empty());
}

TEST_F(AppDelegateTest, TheSpawnConfirmationIsPostedEvenWithoutAPidWithExactlyTwoEntries) {
    launch();
    ASSERT_EQ(fake.distributedCenter.posted().size(), 1U);
    const auto& posted = fake.distributedCenter.posted()[0];
    EXPECT_EQ(posted.name, "kMeetingRecordNotificationName_AppSpawnConfirm");
    EXPECT_EQ(posted.object, std::nullopt);
    EXPECT_EQ(posted.userInfo, (UserInfo{{"kMeetingRecordNotificationKey_AckFromProcessId", std::int32_t{4242}},
                                         {"kMeetingRecordNotificationKey_AckToProcessId", std::int32_t{0}}}));
}

TEST_F(AppDelegateTest, TheSpawnConfirmationNamesTheLaunchingProcessBeforeItIsRegistered) {
    fake.distributedCenter.setOnPost([this](const platform::DistributedNotification& posted) {
        EXPECT_EQ(posted.userInfo->at(kMeetingRecordNotificationKey_AckToProcessId),
                  platform::UserInfoValue(std::int32_t{4711}));
        EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
        EXPECT_EQ(trace.log().back(), traced("onStartUp", ": localeId = 0")) << "nothing is traced about it";
    });
    launch({"-pid", "4711", "-path", "/rec/one.rec"});
    EXPECT_EQ(fake.distributedCenter.posted().size(), 1U);
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U);
}

TEST_F(AppDelegateTest, APidWithoutAPathRegistersTheProcessWithNone) {
    launch({"-pid", "4711"});
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U);
    EXPECT_EQ(countInTrace(traced("onStartUp", ": FIRST file in FIRST meeting, (null)")), 1U);
    EXPECT_EQ(fake.exitWatch.watched(), std::vector<std::int32_t>{4711});
}

TEST_F(AppDelegateTest, ANonNumericPidCountsAsZeroAndANegativeOneIsRegistered) {
    launch({"-pid", "abc", "-path", "/a"});
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 0U);
    fake.processInformation.setArguments({"prog", "-pid", "-5"});
    app->onStartUp();
    EXPECT_EQ(countInTrace(traced("onStartUp", ": parent pid = -5")), 1U);
    EXPECT_EQ(app->meetingPool()->countOfMeetingProcesses(), 1U);
}

TEST_F(AppDelegateTest, TheLocaleIsTracedByTheIntegerReading) {
    launch({"-locale", "9x"});
    EXPECT_EQ(countInTrace(traced("onStartUp", ": localeId = 9")), 1U);
    EXPECT_TRUE(fake.userDefaults.flushed().empty()) << "the language was set before start-up";
}

TEST_F(AppDelegateTest, TerminatingOnlyTraces) {
    app->applicationWillTerminate();
    EXPECT_EQ(trace.log(), (Log{traced("applicationWillTerminate:", ": begin"),
                                traced("applicationWillTerminate:", ": doing nothing"),
                                traced("applicationWillTerminate:", ": end")}));
}

// The quit check

TEST_F(AppDelegateTest, FinishingTwiceWithNoTimerYetMakesTwoTimersAndKeepsTheLater) {
    app->setBAllTaskFinished(true);
    app->setBAllTaskFinished(true);
    EXPECT_EQ(app->checkNeedTerminateTimer(), nullptr) << "the timer is made on the main queue";
    fake.mainQueue.drain();
    ASSERT_EQ(fake.runLoop.timers().size(), 2U);
    EXPECT_EQ(app->checkNeedTerminateTimer(), fake.runLoop.timers()[1]);
    EXPECT_TRUE(fake.runLoop.timers()[0]->isValid()) << "the earlier one ticks on";
}

TEST_F(AppDelegateTest, FinishingWithATimerMakesNoOther) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    app->setBAllTaskFinished(true);
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
    EXPECT_TRUE(app->bAllTaskFinished());
}

TEST_F(AppDelegateTest, NotFinishedWhileNoTimerExistsOnlyChangesTheFlag) {
    app->setBAllTaskFinished(true);
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 1U) << "the task queued before still makes its timer";
    fake.mainQueue.drain();
    EXPECT_NE(app->checkNeedTerminateTimer(), nullptr);
    fake.runLoop.advance(1s);
    EXPECT_EQ(terminations(), 0U) << "and its ticks quit nothing while the flag is false";
}

TEST_F(AppDelegateTest, NotFinishedStopsTheTimerAtOnceAndForgetsIt) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(app->checkNeedTerminateTimer(), nullptr);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
    trace.clear();
    fake.runLoop.advance(10s);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(AppDelegateTest, TheCheckTicksOnceASecond) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    manager()->showConvertFailedBubble();
    trace.clear();
    fake.runLoop.advance(0.99s);
    EXPECT_TRUE(trace.log().empty());
    fake.runLoop.advance(0.01s);
    EXPECT_EQ(trace.log(), Log{check(1, 0)});
    fake.runLoop.advance(3s);
    EXPECT_EQ(trace.log().size(), 4U);
}

TEST_F(AppDelegateTest, ATickWhileABubbleIsOpenWaitsAndTheTickAfterItIsHandledQuits) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    manager()->showConvertFailedBubble();
    trace.clear();
    fake.runLoop.advance(1s);
    EXPECT_EQ(trace.log(), Log{check(1, 0)});
    EXPECT_EQ(terminations(), 0U);
    fake.bubbleMaker.postWillClose(*fake.bubbleMaker.bubbles()[0]);
    trace.clear();
    fake.runLoop.advance(1s);
    EXPECT_EQ(trace.log(), (Log{check(1, 1), traced("quitApp", ": ")}));
    EXPECT_EQ(fake.application.terminateSenders(), std::vector<const platform::ApplicationDelegate*>{app.get()});
}

TEST_F(AppDelegateTest, ATickWithoutTheFlagOnlyTraces) {
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(0, 1)});
    manager()->showConvertFailedBubble();
    trace.clear();
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(0, 0)});
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheFlagIsReadAgainAfterTheLine) {
    // The flag may be cleared between the two reads; the line shows the first, the decision follows the second.
    app->setBAllTaskFinished(true);
    trace.setOnLine([this](const test::TraceLine&) { app->setBAllTaskFinished(false); });
    app->checkNeedQuitApp();
    EXPECT_EQ(trace.log(), Log{check(1, 1)});
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheReporterIsAskedAgainAfterTheLine) {
    app->setBAllTaskFinished(true);
    trace.setOnLine([this](const test::TraceLine&) {
        trace.setOnLine(nullptr);
        manager()->showConvertFailedBubble();
    });
    app->checkNeedQuitApp();
    EXPECT_EQ(terminations(), 0U);
}

TEST_F(AppDelegateTest, TheTimerCanBeSet) {
    const auto timer = fake.runLoop.scheduleRepeatingTimer(5s, [] {});
    app->setCheckNeedTerminateTimer(timer);
    EXPECT_EQ(app->checkNeedTerminateTimer(), timer);
    app->setBAllTaskFinished(false);
    EXPECT_FALSE(timer->isValid());
}

// Events of the pool

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
    request(7, {"/a.rec", "/b.rec"});
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
    request(7, {});
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
    request(1, {"/1a", "/1b"});
    request(2, {"/2a", "/2b"});
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

// Events of the runner

TEST_F(AppDelegateTest, TheFirstStartAsksForTheBeingPreparedBubbleOnTheMainQueueAndNoLaterOneDoes) {
    wire();
    const auto item = itemFor("/a.rec");
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
    const auto item = itemFor("/a.rec");
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
    auto item = itemFor("/a.rec");
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
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), 3, itemFor("/a.rec"));
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
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), 0, itemFor("/a.rec"));
    EXPECT_EQ(trace.log(), Log{error("-[AppDelegate recordConvertingJobRunner:hitsConvertingError:forRecordItem:]: "
                                     "src_pid = 7, src_path = /a.rec, error = 0")});
    EXPECT_TRUE(fake.systemLog.lines().empty());
    EXPECT_EQ(fake.mainQueue.pendingCount(), 0U);
}

TEST_F(AppDelegateTest, ANegativeCodeIsAFailureLikeAnyOther) {
    wire();
    app->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*app->convertingJobRunner(), -1, itemFor("/a.rec"));
    EXPECT_EQ(fake.systemLog.lines(), Log{"convert error -1"});
    EXPECT_EQ(fake.mainQueue.pendingCount(), 1U);
}

TEST_F(AppDelegateTest, RunningOutWithAnEmptyPoolArmsTheQuitCheck) {
    wire();
    runOut();
    EXPECT_EQ(trace.log(), Log{traced("recordConvertingJobRunnerDidRunOutOfJobs:", ": ")});
    EXPECT_TRUE(app->bAllTaskFinished());
    fake.mainQueue.drain();
    fake.runLoop.advance(1s);
    EXPECT_EQ(terminations(), 1U);
}

TEST_F(AppDelegateTest, RunningOutWhileAProcessIsKnownDoesNotArmTheCheckAndTheNextRunOutDoes) {
    launch({"-pid", "1", "-path", "/one.rec"});
    deliver(kMeetingRecordNotificationName_RecordingStarted, 2, "/two.rec");
    fake.fileManager.addFile("/one.rec");
    fake.fileManager.addFile("/two.rec");
    fake.exitWatch.exit(1);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    EXPECT_EQ(countInTrace(traced("recordConvertingJobRunnerDidRunOutOfJobs:", ": ")), 1U);
    EXPECT_FALSE(app->bAllTaskFinished());
    EXPECT_TRUE(fake.runLoop.timers().empty());

    deliver(kMeetingRecordNotificationName_MeetingAppQuit, 2);
    fake.serialQueues.last().drain();
    fake.mainQueue.drain();
    EXPECT_TRUE(app->bAllTaskFinished());
    EXPECT_EQ(fake.runLoop.validTimerCount(), 1U);
}

TEST_F(AppDelegateTest, AStoppedMeetingsFilesAreNotConvertedBeforeItQuits) {
    launch({"-pid", "1", "-path", "/one.rec"});
    deliver(kMeetingRecordNotificationName_RecordingStopped, 1);
    EXPECT_EQ(fake.serialQueues.last().drain(), 0U);
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
}

// Keeping intermediate files

TEST_F(AppDelegateTest, KeepsIntermediateFilesByTheLowest8BitsOfTheFlag) {
    const std::vector<std::pair<std::string, bool>> answers = {
        {"1", true},    {"0", false},     {"255", true},        {"256", false},         {"257", true},
        {"512", false}, {"-1", true},     {"-256", false},      {"yes", false},         {"", false},
        {"128", true},  {"65536", false}, {"2147483647", true}, {"-2147483648", false}, {"99999999999", true}};
    for (const auto& [value, expected] : answers) {
        app->launchingEnv()->parseArguments({"-keepsIntermediateFile", value});
        EXPECT_EQ(keeps(), expected) << value;
    }
}

TEST_F(AppDelegateTest, WithoutTheOptionIntermediateFilesGoAndNothingIsTraced) {
    wire();
    EXPECT_FALSE(keeps());
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

TEST_F(AppDelegateTest, TwoRunOutsInARowMakeTwoChecksAndEachAsksOnceATick) {
    // Both report before the main queue has created a timer. The first request ends the process.
    wire();
    runOut();
    runOut();
    fake.mainQueue.drain();
    ASSERT_EQ(fake.runLoop.timers().size(), 2U);
    fake.runLoop.advance(0.999s);
    EXPECT_EQ(terminations(), 0U);
    fake.runLoop.advance(0.001s);
    EXPECT_EQ(terminations(), 2U);
}

TEST_F(AppDelegateTest, TheStatusItemCanBeSet) {
    const auto item = std::make_shared<test::FakeStatusItem>(3);
    app->setStatusItem(item);
    EXPECT_EQ(app->statusItem(), item);
}

using AppDelegateOnThreadsTest = AppDelegateTest;

TEST_F(AppDelegateOnThreadsTest, TheQuitTimerIsReadAndSetByTwoThreads) {
    app->setBAllTaskFinished(true);
    fake.mainQueue.drain();
    const auto timer = app->checkNeedTerminateTimer();
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        while (!isOver) {
            app->setCheckNeedTerminateTimer(nullptr);
            app->setCheckNeedTerminateTimer(timer);
        }
    });
    for (int count = 0; count < 1000; ++count) {
        const auto seen = app->checkNeedTerminateTimer();
        EXPECT_TRUE(seen == nullptr || seen == timer);
    }
    isOver = true;
    other.join();
}

}  // namespace
