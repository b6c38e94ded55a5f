/// What other programs see of the notification center and what it accepts from them, over a real bus and with a client
/// that shares no code with this project.

#include "contract/EventLoop.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/QtDistributedNotificationCenter.h"

#include <QProcess>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace {

using platform::DistributedNotification;
using namespace std::chrono_literals;

/// Emits the notification signal with the arguments in gdbus's syntax; returns at once.
void emitWithGdbus(const std::vector<std::string>& arguments) {
    QStringList list{"emit",          "--session",
                     "--object-path", "/org/recordconverter/NotificationCenter",
                     "--signal",      "org.recordconverter.NotificationCenter.Posted"};
    for (const auto& argument : arguments) {
        list.append(QString::fromStdString(argument));
    }
    ASSERT_TRUE(QProcess::startDetached("gdbus", list));
}

class BusFromOutside : public ::testing::Test {
protected:
    void SetUp() override {
        center.addObserver(this, "Name", [this](const DistributedNotification& arrived) { heard.push_back(arrived); });
    }

    const DistributedNotification& hear() {
        EXPECT_TRUE(test::turnUntil([&] { return !heard.empty(); }));
        static const DistributedNotification nothing;
        return heard.empty() ? nothing : heard.back();
    }

    platform::qt::NotificationBus bus;
    platform::qt::QtDistributedNotificationCenter center{bus};
    std::vector<DistributedNotification> heard;
};

TEST_F(BusFromOutside, TakesEveryBasicTypeAndUnwrapsVariants) {
    emitWithGdbus({"Name", "an object",
                   "{'i': <int32 -1>, 'u': <uint32 7>, 'x': <int64 -2>, 't': <uint64 8>, 'n': <int16 -3>, "
                   "'q': <uint16 9>, 'y': <byte 0x10>, 'd': <1.5>, 's': <'text'>, 'b': <true>, "
                   "'ay': <[byte 0x2f, 0xff]>, 'v': <<<int32 5>>>}"});
    const auto& arrived = hear();
    EXPECT_EQ(arrived.object, "an object");
    ASSERT_TRUE(arrived.userInfo.has_value());
    const platform::UserInfo expected{{"i", std::int32_t{-1}},
                                      {"u", std::uint32_t{7}},
                                      {"x", std::int64_t{-2}},
                                      {"t", std::uint64_t{8}},
                                      {"n", std::int16_t{-3}},
                                      {"q", std::uint16_t{9}},
                                      {"y", std::uint8_t{0x10}},
                                      {"d", 1.5},
                                      {"s", std::string("text")},
                                      {"b", true},
                                      {"ay", platform::Bytes{0x2f, 0xff}},
                                      {"v", std::int32_t{5}}};
    EXPECT_TRUE(*arrived.userInfo == expected);
}

TEST_F(BusFromOutside, DeliversNothingMoreOnceToldToStopNotEvenWhatHadArrivedBefore) {
    platform::qt::NotificationBus otherBus;
    platform::qt::QtDistributedNotificationCenter other{otherBus};
    int heardByTheOther = 0;
    other.addObserver(this, "Name", [&](const DistributedNotification&) { ++heardByTheOther; });
    center.postNotification({"Name", std::nullopt, std::nullopt});
    center.stopDelivering();
    EXPECT_TRUE(test::turnUntil([&] { return heardByTheOther == 1; })) << "its own notifications are still posted";
    center.postNotification({"Name", std::nullopt, std::nullopt});
    EXPECT_TRUE(test::turnUntil([&] { return heardByTheOther == 2; }));
    EXPECT_TRUE(heard.empty());
}

TEST_F(BusFromOutside, LeavesValuesOfOtherTypesOutOfTheUserInfo) {
    emitWithGdbus({"Name", "", "{'path': <objectpath '/a'>, 'list': <['a', 'b']>, 'pair': <(1, 2)>, 'i': <int32 3>}"});
    const auto& arrived = hear();
    EXPECT_FALSE(arrived.object.has_value());
    ASSERT_TRUE(arrived.userInfo.has_value());
    EXPECT_TRUE(*arrived.userInfo == (platform::UserInfo{{"i", std::int32_t{3}}}));
}

TEST_F(BusFromOutside, TakesAnEmptyUserInfoForNone) {
    emitWithGdbus({"Name", "", "@a{sv} {}"});
    EXPECT_FALSE(hear().userInfo.has_value());
}

TEST_F(BusFromOutside, PaysNoHeedToSignalsOfAnotherShape) {
    emitWithGdbus({"Name"});
    emitWithGdbus({"Name", "", "'no dictionary'"});
    test::turnFor(500ms);
    EXPECT_TRUE(heard.empty());
}

TEST_F(BusFromOutside, SendsTheSignalOfTheContract) {
    QProcess listener;
    listener.start("dbus-monitor", {"--session", "interface='org.recordconverter.NotificationCenter'"});
    ASSERT_TRUE(listener.waitForStarted());
    test::turnFor(500ms);
    center.postNotification({"Name", std::nullopt, platform::UserInfo{{"id", std::int32_t{4711}}}});
    QByteArray said;
    EXPECT_TRUE(test::turnUntil([&] {
        said += listener.readAllStandardOutput();
        return said.contains("int32 4711");
    }));
    EXPECT_TRUE(said.contains("path=/org/recordconverter/NotificationCenter")) << said.toStdString();
    EXPECT_TRUE(said.contains("member=Posted")) << said.toStdString();
    EXPECT_TRUE(said.contains("string \"Name\"\n   string \"\"\n   array [")) << said.toStdString();
    listener.kill();
    listener.waitForFinished();
}

TEST_F(BusFromOutside, SendsATextThatIsNotUtf8AsBytes) {
    center.postNotification({"Name", std::nullopt, platform::UserInfo{{"path", std::string("/tmp/\xff.mkv")}}});
    const auto& arrived = hear();
    ASSERT_TRUE(arrived.userInfo.has_value());
    EXPECT_TRUE(std::holds_alternative<platform::Bytes>(arrived.userInfo->at("path")));
    EXPECT_EQ(platform::textValue(arrived.userInfo->at("path")), "/tmp/\xff.mkv");
}

TEST_F(BusFromOutside, RunsWorkOnTheThreadThatReadsFromTheBus) {
    std::vector<std::thread::id> threads;
    std::atomic<int> done = 0;
    for (int i = 0; i < 2; ++i) {
        bus.runOnBusThread([&] {
            threads.push_back(std::this_thread::get_id());
            ++done;
        });
    }
    ASSERT_TRUE(test::turnUntil([&] { return done == 2; }));
    EXPECT_NE(threads.at(0), std::this_thread::get_id());
    EXPECT_EQ(threads.at(0), threads.at(1));
}

TEST(BusBeforeObservers, WhatArrivesBeforeTheFirstObserverIsDeliveredToAllThatRegisterInThatTurn) {
    platform::qt::NotificationBus bus;
    platform::qt::QtDistributedNotificationCenter center{bus};
    emitWithGdbus({"First", "", "{'n': <int32 1>}"});
    test::turnFor(300ms);
    emitWithGdbus({"Second", "", "{'n': <int32 2>}"});
    test::turnFor(300ms);

    std::vector<std::string> heard;
    const auto note = [&](const DistributedNotification& arrived) { heard.push_back(arrived.name); };
    center.addObserver(&heard, "Second", note);
    center.addObserver(&heard, "First", note);
    EXPECT_TRUE(heard.empty());
    EXPECT_TRUE(test::turnUntil([&] { return heard.size() == 2; }));
    EXPECT_EQ(heard, (std::vector<std::string>{"First", "Second"}));
}

}  // namespace
