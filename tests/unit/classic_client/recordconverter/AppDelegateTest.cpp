#include "AppDelegate.h"

#include "KTRAppInlet.h"
#include "KTRAppLaunchingEnv.h"
#include "platform/ui/ImageView.h"
#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/AppDelegateTest.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using platform::UserInfo;
using test::AppDelegateTest;
using test::info;
using test::Log;

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

TEST_F(AppDelegateTest, TheStatusItemCanBeSet) {
    const auto item = std::make_shared<test::FakeStatusItem>(3);
    app->setStatusItem(item);
    EXPECT_EQ(app->statusItem(), item);
}

}  // namespace
