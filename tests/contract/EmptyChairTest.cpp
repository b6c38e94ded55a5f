/// No result passes unseen: a bubble's time pauses while nobody sees the screen.

#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "contract/ScreenServices.h"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using namespace std::chrono_literals;

const auto locked = QStringLiteral("LockedHint");
const auto idle = QStringLiteral("IdleHint");

class EmptyChair : public test::BubbleKit {
protected:
    /// Opens a bubble that would close after two seconds; within these even a busy machine notices a change.
    void showBriefly() { show(makeView("Your recording has been saved to your computer."), 2); }

    void expectThatItStays() {
        test::turnFor(3000ms);
        EXPECT_TRUE(closed.empty());
    }

    void expectThatItStaysThreeSecondsLonger() {
        const auto back = std::chrono::steady_clock::now();
        ASSERT_TRUE(test::turnUntil([&] { return closed.size() == 1; }));
        EXPECT_GE(std::chrono::steady_clock::now() - back, 2850ms);
    }
};

TEST_F(EmptyChair, AScreenSaverStopsTheClockUntilItIsGone) {
    test::ScreenSaver saver;
    showBriefly();
    saver.setActive(true);
    expectThatItStays();
    saver.setActive(false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, AScreenSaverThatIsThereAlreadyStopsTheClock) {
    test::ScreenSaver saver(true);
    showBriefly();
    expectThatItStays();
    saver.setActive(false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, AScreenSaverThatDiesCoversNothing) {
    auto saver = std::make_unique<test::ScreenSaver>(true);
    showBriefly();
    expectThatItStays();
    saver.reset();
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, OneOfTwoScreenSaversThatGoesLeavesTheScreenToTheOther) {
    test::ScreenSaver saver;
    test::ScreenSaver other(false, QStringLiteral("org.gnome.ScreenSaver"));
    showBriefly();
    saver.setActive(true);
    other.setActive(true);
    test::turnFor(200ms);
    saver.setActive(false);
    expectThatItStays();
    other.setActive(false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, EveryOpenBubbleWaitsAndOneThatComesMeanwhileToo) {
    test::ScreenSaver saver;
    showBriefly();
    showBriefly();
    saver.setActive(true);
    test::turnFor(200ms);
    showBriefly();
    expectThatItStays();
    saver.setActive(false);
    EXPECT_TRUE(test::turnUntil([&] { return closed.size() == 3; }));
}

TEST_F(EmptyChair, ALoginManagerThatDiesKeepsNoClockStanding) {
    auto manager = std::make_unique<test::LoginManager>();
    manager->setHint(locked, true);
    showBriefly();
    expectThatItStays();
    manager.reset();
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, ALockedSessionStopsTheClock) {
    test::LoginManager manager;
    manager.setHint(locked, true);
    showBriefly();
    expectThatItStays();
    manager.setHint(locked, false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, ASessionThatBecomesIdleStopsTheClock) {
    test::LoginManager manager;
    showBriefly();
    test::turnUntil([&] { return manager.asked > 0; });
    test::turnFor(100ms);
    manager.setHint(idle, true);
    expectThatItStays();
    manager.setHint(idle, false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, StaysEmptyUntilEveryReasonIsGone) {
    test::LoginManager manager;
    manager.setHint(locked, true);
    test::ScreenSaver saver(true);
    showBriefly();
    expectThatItStays();
    saver.setActive(false);
    expectThatItStays();
    manager.setHint(locked, false);
    expectThatItStaysThreeSecondsLonger();
}

TEST_F(EmptyChair, ATextSessionsIdlenessMeansNothing) {
    test::LoginManager manager(QStringLiteral("tty"));
    manager.setHint(idle, true);
    showBriefly();
    EXPECT_TRUE(test::turnUntil([&] { return closed.size() == 1; }));
    EXPECT_EQ(manager.asked, 1);
}

TEST_F(EmptyChair, WithNeitherSaverNorManagerTheClockRuns) {
    showBriefly();
    EXPECT_TRUE(test::turnUntil([&] { return closed.size() == 1; }));
}

TEST_F(EmptyChair, NobodyIsAskedWhileNoBubbleIsOpen) {
    test::LoginManager manager;
    test::turnFor(200ms);
    EXPECT_EQ(manager.asked, 0);
    showBriefly();
    EXPECT_TRUE(test::turnUntil([&] { return closed.size() == 1; }));
    EXPECT_EQ(manager.asked, 1);
}

}  // namespace
