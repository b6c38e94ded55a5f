/// The notification center where there is no bus, and after the bus has gone. The bus library looks for its bus once a
/// process, so each test has a process of its own.

#include "contract/EventLoop.h"
#include "contract/PrivateBus.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "support/FakeSystemLog.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace {

using platform::DistributedNotification;
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
    QtDistributedNotificationCenter center;
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].find("no session bus"), 0U) << log.lines()[0];
    EXPECT_TRUE(center.acquireName("org.recordconverter.Test"));
    observersAndPostsDoNothing(center);
}

TEST(LostBus, WithAnAddressThatNobodyAnswersTheSystemLogHearsSo) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    test::FakeSystemLog log;
    platform::qt::QtApplication application(1, programArguments);
    QtDistributedNotificationCenter center;
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].find("no session bus"), 0U) << log.lines()[0];
    observersAndPostsDoNothing(center);
}

TEST(LostBus, ABusThatGoesAwayEndsNothingAndCostsNothing) {
    test::PrivateBus bus;
    platform::qt::QtApplication application(1, programArguments);
    test::FakeSystemLog log;
    QtDistributedNotificationCenter center;
    ASSERT_TRUE(center.acquireName("org.recordconverter.Test"));
    EXPECT_TRUE(log.lines().empty());
    bus.stop();
    EXPECT_TRUE(test::turnUntil([&] { return !log.lines().empty(); }));
    EXPECT_EQ(log.lines().size(), 1U);
    observersAndPostsDoNothing(center);
}

}  // namespace

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return RUN_ALL_TESTS();
}
