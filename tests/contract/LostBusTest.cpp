/// The notification center where there is no bus, and after the bus has gone. The bus library looks for its bus once a
/// process, so each test has a process of its own.

#include "contract/EventLoop.h"
#include "contract/PrivateBus.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "platform/qt/SessionBus.h"
#include "support/FakeSystemLog.h"

#include <QDBusConnection>
#include <QObject>
#include <QProcessEnvironment>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

using platform::DistributedNotification;
using platform::qt::NotificationBus;
using platform::qt::QtDistributedNotificationCenter;
using namespace std::chrono_literals;

char programName[] = "lost-bus";
char* programArguments[] = {programName, nullptr};

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void observersAndPostsDoNothing(QtDistributedNotificationCenter& center) {
    center.addObserver(&center, "Name", [](const DistributedNotification&) { FAIL(); });
    center.postNotification({"Name", std::nullopt, std::nullopt});
    const double before = processorSeconds();
    test::turnFor(500ms);
    EXPECT_LT(processorSeconds() - before, 0.1) << "a bus that is not there must cost no time";
    center.removeObserver(&center);
}

TEST(LostBus, WithoutABusTheSystemLogHearsSoAndNothingElseHappens) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    setenv("XDG_RUNTIME_DIR", "/nonexistent", 1);
    test::FakeSystemLog log;
    platform::qt::QtApplication application(1, programArguments);
    NotificationBus connection;
    QtDistributedNotificationCenter center(connection);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].find("no session bus"), 0U) << log.lines()[0];
    connection.runOnBusThread([] { FAIL() << "there is no such thread"; });
    EXPECT_TRUE(connection.acquireName("org.recordconverter.Test"));
    observersAndPostsDoNothing(center);
}

TEST(LostBus, WithAnAddressThatNobodyAnswersTheSystemLogHearsSo) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    test::FakeSystemLog log;
    platform::qt::QtApplication application(1, programArguments);
    NotificationBus connection;
    QtDistributedNotificationCenter center(connection);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].find("no session bus"), 0U) << log.lines()[0];
    connection.runOnBusThread([] { FAIL() << "there is no such thread"; });
    observersAndPostsDoNothing(center);
}

TEST(LostBus, ABusThatGoesAwayEndsNothingAndCostsNothing) {
    test::PrivateBus bus;
    platform::qt::QtApplication application(1, programArguments);
    test::FakeSystemLog log;
    NotificationBus connection;
    QtDistributedNotificationCenter center(connection);
    ASSERT_TRUE(connection.acquireName("org.recordconverter.Test"));
    EXPECT_TRUE(log.lines().empty());
    bus.stop();
    EXPECT_TRUE(test::turnUntil([&] { return !log.lines().empty(); }));
    EXPECT_EQ(log.lines().size(), 1U);
    observersAndPostsDoNothing(center);
    connection.runOnBusThread([] {});
    test::turnFor(100ms);
}

TEST(LostBus, WhatIsLaunchedDoesNotHearWhatThisProcessHasSetForItself) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("DBUS_FATAL_WARNINGS");
    setenv("XDG_RUNTIME_DIR", "/nonexistent", 1);
    const platform::qt::QtApplication application(1, programArguments);
    auto environment = QProcessEnvironment::systemEnvironment();
    EXPECT_EQ(environment.value(QStringLiteral("DBUS_FATAL_WARNINGS")), QStringLiteral("0"));
    platform::qt::forgetBusSettingsIn(environment);
    EXPECT_FALSE(environment.contains(QStringLiteral("DBUS_FATAL_WARNINGS")));
    EXPECT_FALSE(environment.contains(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")));
}

TEST(LostBus, WhoHuntsForMistakesIsHeeded) {
    setenv("DBUS_FATAL_WARNINGS", "1", 1);
    const platform::qt::QtApplication application(1, programArguments);
    auto environment = QProcessEnvironment::systemEnvironment();
    platform::qt::forgetBusSettingsIn(environment);
    EXPECT_EQ(environment.value(QStringLiteral("DBUS_FATAL_WARNINGS")), QStringLiteral("1"));
}

// A call that could no longer be sent once ended the process.
TEST(LostBus, ABusThatGoesAwayWhileServicesAreBeingWatchedEndsNothing) {
    constexpr int trials = 20;
    constexpr int services = 500;
    const platform::qt::QtApplication application(1, programArguments);
    QObject watcher;
    for (int trial = 0; trial < trials; ++trial) {
        test::PrivateBus bus;
        const auto name = QStringLiteral("trial %1").arg(trial);
        auto connection = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), name);
        ASSERT_TRUE(connection.isConnected());
        std::thread end([&] {
            std::this_thread::sleep_for(1ms * trial);
            bus.stop();
        });
        for (int service = 0; service < services; ++service) {
            connection.connect(QStringLiteral("org.recordconverter.Service%1").arg(service), QStringLiteral("/"),
                               QStringLiteral("org.recordconverter.Test"), QStringLiteral("Heard"), &watcher,
                               SLOT(deleteLater()));
        }
        end.join();
        EXPECT_TRUE(test::turnUntil([&] { return !connection.isConnected(); }));
        QDBusConnection::disconnectFromBus(name);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return RUN_ALL_TESTS();
}
