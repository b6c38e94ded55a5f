#include "recordkeeping/MistakeLog.h"

#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakeInstanceBus.h"
#include "support/FakeSystemLog.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class MistakeLogTest : public testing::Test {
protected:
    test::FakeInstanceBus bus;
    test::FakeSystemLog log;
    recordkeeping::MistakeLog mistakes{bus};
    const platform::DistributedNotification withoutProcess{kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt,
                                                           std::nullopt};
};

TEST_F(MistakeLogTest, AMistakeIsAWarningThatNamesItsSender) {
    bus.processes[":1.7"] = 4711;
    mistakes.notificationArrived(withoutProcess, ":1.7");
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(
        log.lines().front().find("a mistake in \"kMeetingRecordNotificationName_MeetingAppQuit\" from :1.7 (process "
                                 "4711): "),
        0U);
    EXPECT_EQ(log.severities(), std::vector{platform::Severity::warning});
}

TEST_F(MistakeLogTest, ASenderThatHasLeftIsNamedByItsAddress) {
    mistakes.notificationArrived(withoutProcess, ":1.7");
    EXPECT_NE(log.lines().at(0).find(":1.7 (which has left the bus)"), std::string::npos);
}

TEST_F(MistakeLogTest, TheSameLineIsWrittenOnce) {
    mistakes.notificationArrived(withoutProcess, ":1.7");
    mistakes.notificationArrived(withoutProcess, ":1.7");
    EXPECT_EQ(log.lines().size(), 1U);
    mistakes.notificationArrived(withoutProcess, ":1.8");
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(MistakeLogTest, WhatIsNoNotificationIsNamedByItsTypes) {
    mistakes.malformedArrived("ss", ":1.7");
    EXPECT_EQ(log.lines().at(0),
              "a notification from :1.7 (which has left the bus) has the arguments (ss); it is ignored, "
              "because they must be (ssa{sv}): name, object, user info");
}

TEST_F(MistakeLogTest, MistakesOfALaunchAreWarnings) {
    mistakes.noteLaunch({"record-converter", "-path"});
    EXPECT_EQ(log.lines(), std::vector<std::string>{"a mistake in the launch: -path has no value"});
    EXPECT_EQ(log.severities(), std::vector{platform::Severity::warning});
}

}  // namespace
