/// One instance per user: the bus name, and what a second launch passes to the first. Both centers live in this
/// process, each with its own bus connection, like two processes.

#include "contract/EventLoop.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "recordkeeping/LaunchHandOver.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakeSystemLog.h"

#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using platform::DistributedNotification;
using platform::UserInfo;
using platform::qt::NotificationBus;
using platform::qt::QtDistributedNotificationCenter;
using HandOver = recordkeeping::LaunchHandOver::Outcome;
using namespace std::chrono_literals;

const std::string busName = kMeetingRecordConverterBundleIdentifier;
const std::string startedName = kMeetingRecordNotificationName_RecordingStarted;
const std::string stopped = kMeetingRecordNotificationName_RecordingStopped;
const std::string spawnedName = kMeetingRecordNotificationName_AppSpawnConfirm;
const std::string ack = kMeetingRecordNotificationName_AckNotification;
const std::string pidKey = kMeetingRecordNotificationKey_MeetingProcessId;
const std::string pathKey = kMeetingRecordNotificationKey_RecordIntermediatePath;
const std::string ackName = kMeetingRecordNotificationKey_AckNotificationName;
const std::string from = kMeetingRecordNotificationKey_AckFromProcessId;
const std::string toKey = kMeetingRecordNotificationKey_AckToProcessId;
constexpr std::int32_t meeting = 4711;

class SecondLaunch : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(firstBus->acquireName(busName));
        client.addObserver(this, spawnedName,
                           [this](const DistributedNotification& arrived) { spawned.push_back(arrived); });
        first->addObserver(this, startedName, [this](const DistributedNotification& arrived) {
            started.push_back(arrived);
            onStarted(arrived);
        });
    }

    void acknowledge(const DistributedNotification& arrived, const std::string& name, std::int32_t addressee) {
        EXPECT_TRUE(arrived.userInfo.has_value());
        first->postNotification(
            {ack, std::nullopt,
             UserInfo{{ackName, name}, {from, static_cast<std::int32_t>(getpid())}, {toKey, addressee}}});
    }

    HandOver handOver(std::int32_t pid, const std::optional<std::string>& path) {
        EXPECT_FALSE(secondBus.acquireName(busName));
        const auto begin = std::chrono::steady_clock::now();
        std::vector<std::string> arguments{"record-converter", "-pid", std::to_string(pid)};
        if (path) {
            arguments.insert(arguments.end(), {"-path", *path});
        }
        const auto result = recordkeeping::LaunchHandOver(secondBus, arguments).run();
        took = std::chrono::steady_clock::now() - begin;
        return result;
    }

    /// The first converter leaves the bus.
    void leave() {
        first.reset();
        firstBus.reset();
    }

    std::unique_ptr<NotificationBus> firstBus = std::make_unique<NotificationBus>();
    std::unique_ptr<QtDistributedNotificationCenter> first =
        std::make_unique<QtDistributedNotificationCenter>(*firstBus);
    NotificationBus secondBus;
    QtDistributedNotificationCenter second{secondBus};
    NotificationBus clientBus;
    QtDistributedNotificationCenter client{clientBus};
    std::function<void(const DistributedNotification&)> onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, startedName, meeting);
    };
    std::vector<DistributedNotification> started;
    std::vector<DistributedNotification> spawned;
    std::chrono::duration<double> took{0};
};

TEST_F(SecondLaunch, HandsItsRecordingOverAndConfirmsInTheNameOfTheRunningConverter) {
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::done);
    EXPECT_LT(took, 2s);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(platform::integerValue(started[0].userInfo->at(pidKey)), meeting);
    EXPECT_EQ(platform::textValue(started[0].userInfo->at(pathKey)), "/home/u/talk.mkv");
    ASSERT_TRUE(test::turnUntil([&] { return !spawned.empty(); }));
    EXPECT_TRUE(*spawned[0].userInfo == (UserInfo{{from, static_cast<std::int32_t>(getpid())}, {toKey, meeting}}));
}

TEST_F(SecondLaunch, LeavesAnAbsentPathOut) {
    EXPECT_EQ(handOver(meeting, std::nullopt), HandOver::done);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_FALSE(started[0].userInfo->contains(pathKey));
}

TEST_F(SecondLaunch, HandsOverAPathThatIsNotUtf8AsBytes) {
    EXPECT_EQ(handOver(meeting, "/tmp/\xff.mkv"), HandOver::done);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(platform::textValue(started[0].userInfo->at(pathKey)), "/tmp/\xff.mkv");
}

TEST_F(SecondLaunch, WithoutAMeetingProcessOnlyConfirms) {
    EXPECT_EQ(handOver(0, "/home/u/talk.mkv"), HandOver::done);
    ASSERT_TRUE(test::turnUntil([&] { return !spawned.empty(); }));
    EXPECT_EQ(platform::integerValue(spawned[0].userInfo->at(toKey)), 0);
    EXPECT_TRUE(started.empty());
}

TEST_F(SecondLaunch, TakesOverWhenTheHolderLeavesBeforeItHasAcknowledged) {
    onStarted = [this](const DistributedNotification&) { QTimer::singleShot(0, [this] { leave(); }); };
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    EXPECT_LT(took, 2s);
    EXPECT_TRUE(secondBus.acquireName(busName));
    EXPECT_FALSE(clientBus.acquireName(busName));

    // Its own offer must not come back to it as a second start of the same recording.
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, startedName, [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    test::turnFor(300ms);
    EXPECT_TRUE(heard.empty());
    EXPECT_TRUE(spawned.empty());
}

TEST_F(SecondLaunch, HearsTheRecordingsOfOthersAfterItHasTakenOver) {
    onStarted = [this](const DistributedNotification&) { QTimer::singleShot(0, [this] { leave(); }); };
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, startedName, [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    client.postNotification({startedName, std::nullopt, UserInfo{{pidKey, meeting + 1}}});
    EXPECT_TRUE(test::turnUntil([&] { return heard.size() == 1; }));
}

TEST_F(SecondLaunch, WhatWasAcknowledgedIsDoneAlthoughTheHolderLeavesAtOnce) {
    onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, startedName, meeting);
        firstBus->flush();
        QTimer::singleShot(0, [this] { leave(); });
    };
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::done);
}

TEST_F(SecondLaunch, KeepsWhatOthersPostedMeanwhileForItsObserversWhenItTakesOver) {
    onStarted = [this](const DistributedNotification&) {
        client.postNotification({stopped, std::nullopt, UserInfo{{pidKey, meeting}}});
        QTimer::singleShot(200ms, [this] { leave(); });
    };
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, stopped, [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    EXPECT_TRUE(test::turnUntil([&] { return heard.size() == 1; }));
}

TEST_F(SecondLaunch, AnAcknowledgementToAnotherProcessOrOfAnotherNotificationIsNotItsOwn) {
    onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, startedName, meeting + 1);
        acknowledge(arrived, stopped, meeting);
        client.postNotification({ack, std::nullopt, UserInfo{{ackName, startedName}, {toKey, meeting}}});
        QTimer::singleShot(300ms, [this] { leave(); });
    };
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    EXPECT_GE(took, 250ms);
}

TEST_F(SecondLaunch, TrustsASilentHolderAfterFiveSecondsAndSaysSo) {
    test::FakeSystemLog log;
    onStarted = [](const DistributedNotification&) {};
    EXPECT_EQ(handOver(meeting, "/home/u/talk.mkv"), HandOver::done);
    EXPECT_GE(took, 4.5s);
    EXPECT_LT(took, 7s);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].find("has not acknowledged"), std::string::npos) << log.lines()[0];
}

}  // namespace
