/// Everything that a process has sent on the bus is delivered before its exit is reported.

#include "contract/EventLoop.h"
#include "platform/linux/PidfdProcessExitWatch.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "platform/qt/QtRunLoop.h"

#include <QProcess>
#include <cstddef>
#include <cstdint>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using platform::DistributedNotification;
using platform::qt::NotificationBus;
using platform::qt::QtDistributedNotificationCenter;

/// One process that sends, and one that counts what it receives.
class DeliveryOrder : public testing::Test {
protected:
    static constexpr std::size_t count = 200;

    DeliveryOrder() {
        center.addObserver(&heard, "Name", [this](const DistributedNotification&) { ++heard; });
    }

    void sendAll() {
        for (std::size_t index = 0; index < count; ++index) {
            client.postNotification({"Name", std::nullopt, std::nullopt});
        }
        clientBus.flush();
    }

    NotificationBus clientBus;
    QtDistributedNotificationCenter client{clientBus};
    NotificationBus bus;
    QtDistributedNotificationCenter center{bus};
    std::size_t heard = 0;
};

TEST_F(DeliveryOrder, EverythingThatWasSentBeforeComesFirst) {
    // Another program sends, and the thread that reads from the bus has read nothing of it when the question comes.
    std::promise<void> asked;
    bus.runOnBusThread([&] { asked.get_future().wait(); });
    constexpr std::size_t sent = 3;
    for (std::size_t index = 0; index < sent; ++index) {
        ASSERT_EQ(QProcess::execute(
                      "gdbus", {"emit", "--session", "--object-path", "/org/recordconverter/NotificationCenter",
                                "--signal", "org.recordconverter.NotificationCenter.Posted", "Name", "", "@a{sv} {}"}),
                  0);
    }
    std::optional<std::size_t> heardBefore;
    bus.afterDelivery([&] { heardBefore = heard; });
    EXPECT_FALSE(heardBefore) << "never inside the call";
    asked.set_value();
    ASSERT_TRUE(test::turnUntil([&] { return heardBefore.has_value(); }));
    EXPECT_EQ(*heardBefore, sent);
}

TEST_F(DeliveryOrder, WhatIsAskedForDuringARoundTripWaitsForTheNextOne) {
    bus.afterDelivery([] {});
    sendAll();
    std::vector<std::size_t> heardBefore;
    for (int index = 0; index < 3; ++index) {
        bus.afterDelivery([&] { heardBefore.push_back(heard); });
    }
    ASSERT_TRUE(test::turnUntil([&] { return heardBefore.size() == 3; }));
    EXPECT_EQ(heardBefore, (std::vector{count, count, count}));
}

TEST_F(DeliveryOrder, ThoseThatWaitRunInTheirOrder) {
    std::vector<int> ran;
    bus.afterDelivery([&] {
        ran.push_back(0);
        bus.afterDelivery([&] { ran.push_back(3); });
    });
    bus.afterDelivery([&] { ran.push_back(1); });
    bus.afterDelivery([&] { ran.push_back(2); });
    ASSERT_TRUE(test::turnUntil([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, (std::vector{0, 1, 2, 3}));
}

TEST_F(DeliveryOrder, IdsThatNameNoProcessAreToldAtOnce) {
    platform::qt::QtRunLoop runLoop;
    platform::PidfdProcessExitWatch watch(runLoop);
    std::vector<std::int32_t> gone;
    watch.setGoneHandler([&](std::int32_t processId) { gone.push_back(processId); });
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    const auto silent = [](std::int32_t) { ADD_FAILURE() << "only the handler is told"; };
    watch.watch(child, silent);
    watch.watch(0, silent);
    watch.watch(-1, silent);
    watch.watch(getpid(), silent);
    EXPECT_EQ(gone, (std::vector<std::int32_t>{child, 0, -1}));
}

}  // namespace
