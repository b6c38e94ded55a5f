#include "recordkeeping/LaunchHandOver.h"

#include "recordkeeping/HandOverKeys.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakeInstanceBus.h"
#include "support/FakeSystemLog.h"

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using platform::UserInfo;
using recordkeeping::LaunchHandOver;
using Outcome = LaunchHandOver::Outcome;
using Listener = platform::InstanceBus::Listener;
using Calls = std::vector<std::string>;

const std::string acquireCall = std::string("acquire ") + kMeetingRecordConverterBundleIdentifier;
const std::string startedCall = std::string("post ") + kMeetingRecordNotificationName_RecordingStarted;
const std::string confirmCall = std::string("post ") + kMeetingRecordNotificationName_AppSpawnConfirm;
constexpr std::int32_t meeting = 4711;
constexpr std::int32_t converter = 815;

class LaunchHandOverTest : public testing::Test {
protected:
    LaunchHandOverTest() {
        bus.owner = ":1.7";
        bus.processes[":1.7"] = converter;
    }

    /// An acknowledgement from `sender`.
    auto acknowledgement(const std::string& sender, const std::string& name, const platform::UserInfoValue& addressee) {
        return [=](Listener& listener) {
            listener.notificationArrived({kMeetingRecordNotificationName_AckNotification, std::nullopt,
                                          UserInfo{{kMeetingRecordNotificationKey_AckNotificationName, name},
                                                   {kMeetingRecordNotificationKey_AckFromProcessId, converter},
                                                   {kMeetingRecordNotificationKey_AckToProcessId, addressee}}},
                                         sender);
        };
    }

    auto rightAcknowledgement() {
        return acknowledgement(":1.7", kMeetingRecordNotificationName_RecordingStarted, meeting);
    }

    /// The converter that owns the name leaves the bus, and nobody takes its place.
    auto ownerLeaves() {
        return [this](Listener& listener) {
            bus.owner.clear();
            listener.ownerLeft(kMeetingRecordConverterBundleIdentifier, ":1.7");
        };
    }

    Outcome handOver(const std::vector<std::string>& options = {"-path", "/rec/talk.mkv"}) {
        std::vector<std::string> arguments{"record-converter", "-pid", std::to_string(meeting)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return LaunchHandOver(bus, arguments).run();
    }

    UserInfo offered() const { return bus.posted.at(0).userInfo.value_or(UserInfo()); }

    test::FakeInstanceBus bus;
    test::FakeSystemLog log;
};

TEST_F(LaunchHandOverTest, OffersWaitsConfirmsAndFlushesInThisOrder) {
    bus.events = {rightAcknowledgement()};
    EXPECT_EQ(handOver(), Outcome::done);
    EXPECT_EQ(bus.calls, (Calls{acquireCall, startedCall, "wait 5000", confirmCall, "flush"}));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(bus.hasListener());
}

TEST_F(LaunchHandOverTest, OffersTheRecordingWithTheValuesOfItsLaunch) {
    bus.events = {rightAcknowledgement()};
    handOver({"-path", "/rec/talk.mkv", "-locale", "9", "-keepsIntermediateFile", "1"});
    EXPECT_TRUE(offered() ==
                (UserInfo{{kMeetingRecordNotificationKey_MeetingProcessId, meeting},
                          {kMeetingRecordNotificationKey_RecordIntermediatePath, std::string("/rec/talk.mkv")},
                          {recordkeeping::handedOverKey, true},
                          {recordkeeping::keepsIntermediateFileKey, true},
                          {recordkeeping::languageKey, std::int32_t{9}}}));
}

TEST_F(LaunchHandOverTest, WithoutOptionsItOffersNoPathEnglishAndNothingToKeep) {
    bus.events = {rightAcknowledgement()};
    handOver({});
    EXPECT_TRUE(offered() == (UserInfo{{kMeetingRecordNotificationKey_MeetingProcessId, meeting},
                                       {recordkeeping::handedOverKey, true},
                                       {recordkeeping::keepsIntermediateFileKey, false},
                                       {recordkeeping::languageKey, std::int32_t{1}}}));
}

TEST_F(LaunchHandOverTest, ARelativePathIsThatOfThisLaunchsFolder) {
    bus.events = {rightAcknowledgement()};
    handOver({"-path", "talk.mkv"});
    EXPECT_EQ(platform::textValue(offered().at(kMeetingRecordNotificationKey_RecordIntermediatePath)),
              (std::filesystem::current_path() / "talk.mkv").string());
}

TEST_F(LaunchHandOverTest, AKeepFlagOf256IsNone) {
    bus.events = {rightAcknowledgement()};
    handOver({"-keepsIntermediateFile", "256"});
    EXPECT_TRUE(offered().at(recordkeeping::keepsIntermediateFileKey) == platform::UserInfoValue(false));
}

TEST_F(LaunchHandOverTest, ConfirmsInTheNameOfTheRunningConverter) {
    bus.events = {rightAcknowledgement()};
    handOver();
    EXPECT_TRUE(bus.posted.at(1).userInfo == (UserInfo{{kMeetingRecordNotificationKey_AckFromProcessId, converter},
                                                       {kMeetingRecordNotificationKey_AckToProcessId, meeting}}));
}

TEST_F(LaunchHandOverTest, WithoutAMeetingProcessItOnlyConfirms) {
    EXPECT_EQ(LaunchHandOver(bus, {"record-converter", "-path", "/rec/talk.mkv"}).run(), Outcome::done);
    EXPECT_EQ(bus.calls, (Calls{acquireCall, confirmCall, "flush"}));
    EXPECT_EQ(platform::integerValue(bus.posted.at(0).userInfo->at(kMeetingRecordNotificationKey_AckToProcessId)), 0);
}

TEST_F(LaunchHandOverTest, TakesTheNameWhenNobodyOwnsItAnyMore) {
    bus.owner.clear();
    EXPECT_EQ(handOver(), Outcome::becamePrimary);
    EXPECT_EQ(bus.calls, Calls{acquireCall});
}

TEST_F(LaunchHandOverTest, TakesOverWhenTheOwnerLeavesBeforeItHasAcknowledged) {
    bus.events = {ownerLeaves()};
    EXPECT_EQ(handOver(), Outcome::becamePrimary);
    EXPECT_EQ(bus.calls, (Calls{acquireCall, startedCall, "wait 5000", acquireCall}));
}

TEST_F(LaunchHandOverTest, OffersItToTheNextOwnerWhenTheFirstOneLeaves) {
    bus.processes[":1.9"] = converter + 1;
    bus.events = {[this](Listener& listener) {
                      bus.owner = ":1.9";
                      listener.ownerLeft(kMeetingRecordConverterBundleIdentifier, ":1.7");
                  },
                  rightAcknowledgement(),
                  acknowledgement(":1.9", kMeetingRecordNotificationName_RecordingStarted, meeting)};
    EXPECT_EQ(handOver(), Outcome::done);
    EXPECT_EQ(bus.posted.size(), 3U);
    EXPECT_EQ(platform::integerValue(bus.posted.at(2).userInfo->at(kMeetingRecordNotificationKey_AckFromProcessId)),
              converter + 1);
    EXPECT_TRUE(bus.events.empty()) << "the first one's acknowledgement counted for the second";
}

TEST_F(LaunchHandOverTest, TriesAgainWhenTheBusIsLost) {
    bus.events = {[this](Listener& listener) {
        bus.owner.clear();
        listener.busLost();
    }};
    EXPECT_EQ(handOver(), Outcome::becamePrimary);
}

TEST_F(LaunchHandOverTest, AnAcknowledgementStaysValidAlthoughTheOwnerLeavesAtOnce) {
    bus.events = {[this](Listener& listener) {
        rightAcknowledgement()(listener);
        ownerLeaves()(listener);
    }};
    EXPECT_EQ(handOver(), Outcome::done);
}

TEST_F(LaunchHandOverTest, OtherAcknowledgementsAreNotItsOwn) {
    bus.events = {acknowledgement(":1.8", kMeetingRecordNotificationName_RecordingStarted, meeting),
                  acknowledgement(":1.7", kMeetingRecordNotificationName_RecordingStopped, meeting),
                  acknowledgement(":1.7", kMeetingRecordNotificationName_RecordingStarted, meeting + 1),
                  [](Listener& listener) {
                      listener.notificationArrived(
                          {kMeetingRecordNotificationName_AckNotification, std::nullopt, std::nullopt}, ":1.7");
                  },
                  [](Listener& listener) { listener.ownerLeft("org.example.Other", ":1.7"); },
                  [](Listener& listener) { listener.ownerLeft(kMeetingRecordConverterBundleIdentifier, ":1.6"); }};
    EXPECT_EQ(handOver(), Outcome::done);
    EXPECT_EQ(bus.calls, (Calls{acquireCall, startedCall, "wait 5000", confirmCall, "flush"}));
    EXPECT_TRUE(bus.events.empty()) << "one of them ended the wait";
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0], "the running record converter, process 815, has not acknowledged; the recording waits in "
                              "its queue");
}

TEST_F(LaunchHandOverTest, TakesTheAddresseeInAnyType) {
    bus.events = {acknowledgement(":1.7", kMeetingRecordNotificationName_RecordingStarted, std::string("4711"))};
    EXPECT_EQ(handOver(), Outcome::done);
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
