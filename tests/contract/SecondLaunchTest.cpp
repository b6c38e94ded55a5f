/// One instance per user: the bus name, and what a second launch passes to the first. Both centers live in this
/// process, each with its own bus connection, like two processes.

#include "contract/EventLoop.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
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
using platform::qt::QtDistributedNotificationCenter;
using HandOver = QtDistributedNotificationCenter::HandOver;
using namespace std::chrono_literals;

const std::string kBusName = "org.recordconverter.Test";
const platform::qt::LaunchVocabulary kWords{"Started", "Ack", "Spawned", "Pid", "Path", "AckName", "From", "To"};
constexpr std::int32_t kMeeting = 4711;

class SecondLaunch : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(first->acquireName(kBusName));
        client.addObserver(this, "Spawned",
                           [this](const DistributedNotification& arrived) { spawned.push_back(arrived); });
        first->addObserver(this, "Started", [this](const DistributedNotification& arrived) {
            started.push_back(arrived);
            onStarted(arrived);
        });
    }

    void acknowledge(const DistributedNotification& arrived, const std::string& name, std::int32_t addressee) {
        EXPECT_TRUE(arrived.userInfo.has_value());
        first->postNotification(
            {"Ack", std::nullopt,
             UserInfo{{"AckName", name}, {"From", static_cast<std::int32_t>(getpid())}, {"To", addressee}}});
    }

    HandOver handOver(std::int32_t pid, const std::optional<std::string>& path) {
        EXPECT_FALSE(second.acquireName(kBusName));
        const auto begin = std::chrono::steady_clock::now();
        const auto result = second.handOver(kBusName, kWords, pid, path);
        took = std::chrono::steady_clock::now() - begin;
        return result;
    }

    std::unique_ptr<QtDistributedNotificationCenter> first = std::make_unique<QtDistributedNotificationCenter>();
    QtDistributedNotificationCenter second;
    QtDistributedNotificationCenter client;
    std::function<void(const DistributedNotification&)> onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, "Started", kMeeting);
    };
    std::vector<DistributedNotification> started;
    std::vector<DistributedNotification> spawned;
    std::chrono::duration<double> took{0};
};

TEST_F(SecondLaunch, HandsItsRecordingOverAndConfirmsInTheNameOfTheRunningConverter) {
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::done);
    EXPECT_LT(took, 2s);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_TRUE(*started[0].userInfo == (UserInfo{{"Pid", kMeeting}, {"Path", std::string("/home/u/talk.mkv")}}));
    ASSERT_TRUE(test::turnUntil([&] { return !spawned.empty(); }));
    EXPECT_TRUE(*spawned[0].userInfo == (UserInfo{{"From", static_cast<std::int32_t>(getpid())}, {"To", kMeeting}}));
}

TEST_F(SecondLaunch, LeavesAnAbsentPathOut) {
    EXPECT_EQ(handOver(kMeeting, std::nullopt), HandOver::done);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_TRUE(*started[0].userInfo == (UserInfo{{"Pid", kMeeting}}));
}

TEST_F(SecondLaunch, HandsOverAPathThatIsNotUtf8AsBytes) {
    EXPECT_EQ(handOver(kMeeting, "/tmp/\xff.mkv"), HandOver::done);
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(platform::textValue(started[0].userInfo->at("Path")), "/tmp/\xff.mkv");
}

TEST_F(SecondLaunch, WithoutAMeetingProcessOnlyConfirms) {
    EXPECT_EQ(handOver(0, "/home/u/talk.mkv"), HandOver::done);
    ASSERT_TRUE(test::turnUntil([&] { return !spawned.empty(); }));
    EXPECT_EQ(platform::integerValue(spawned[0].userInfo->at("To")), 0);
    EXPECT_TRUE(started.empty());
}

TEST_F(SecondLaunch, TakesOverWhenTheHolderLeavesBeforeItHasAcknowledged) {
    onStarted = [this](const DistributedNotification&) { QTimer::singleShot(0, [this] { first.reset(); }); };
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    EXPECT_LT(took, 2s);
    EXPECT_TRUE(second.acquireName(kBusName));
    EXPECT_FALSE(client.acquireName(kBusName));

    // Its own offer must not come back to it as a second start of the same recording.
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, "Started", [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    test::turnFor(300ms);
    EXPECT_TRUE(heard.empty());
    EXPECT_TRUE(spawned.empty());
}

TEST_F(SecondLaunch, HearsTheRecordingsOfOthersAfterItHasTakenOver) {
    onStarted = [this](const DistributedNotification&) { QTimer::singleShot(0, [this] { first.reset(); }); };
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, "Started", [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    client.postNotification({"Started", std::nullopt, UserInfo{{"Pid", kMeeting + 1}}});
    EXPECT_TRUE(test::turnUntil([&] { return heard.size() == 1; }));
}

TEST_F(SecondLaunch, WhatWasAcknowledgedIsDoneAlthoughTheHolderLeavesAtOnce) {
    onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, "Started", kMeeting);
        first->flush();
        QTimer::singleShot(0, [this] { first.reset(); });
    };
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::done);
}

TEST_F(SecondLaunch, KeepsWhatOthersPostedMeanwhileForItsObserversWhenItTakesOver) {
    onStarted = [this](const DistributedNotification&) {
        client.postNotification({"Stopped", std::nullopt, UserInfo{{"Pid", kMeeting}}});
        QTimer::singleShot(200ms, [this] { first.reset(); });
    };
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    std::vector<DistributedNotification> heard;
    second.addObserver(&heard, "Stopped", [&](const DistributedNotification& arrived) { heard.push_back(arrived); });
    EXPECT_TRUE(test::turnUntil([&] { return heard.size() == 1; }));
}

TEST_F(SecondLaunch, AnAcknowledgementToAnotherProcessOrOfAnotherNotificationIsNotItsOwn) {
    onStarted = [this](const DistributedNotification& arrived) {
        acknowledge(arrived, "Started", kMeeting + 1);
        acknowledge(arrived, "Stopped", kMeeting);
        client.postNotification({"Ack", std::nullopt, UserInfo{{"AckName", std::string("Started")}, {"To", kMeeting}}});
        QTimer::singleShot(300ms, [this] { first.reset(); });
    };
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::becamePrimary);
    EXPECT_GE(took, 250ms);
}

TEST_F(SecondLaunch, TrustsASilentHolderAfterFiveSecondsAndSaysSo) {
    test::FakeSystemLog log;
    onStarted = [](const DistributedNotification&) {};
    EXPECT_EQ(handOver(kMeeting, "/home/u/talk.mkv"), HandOver::done);
    EXPECT_GE(took, 4.5s);
    EXPECT_LT(took, 7s);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].find("has not acknowledged"), std::string::npos) << log.lines()[0];
}

}  // namespace
