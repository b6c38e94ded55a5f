/// Several bubbles form one stack, which is frozen while the pointer or the keyboard focus is in it.

#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "contract/SettingsPortal.h"

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

const std::string savedText = "Your recording has been saved to your computer.";

class BubbleStack : public test::BubbleKit {
protected:
    /// A bubble that closes by itself after a moment, above one that stays.
    void showTwo() {
        show(makeView(savedText, {"Open"}), 1);
        show(makeView(savedText, {"Open"}));
        both = windows();
        ASSERT_EQ(both.size(), 2U);
        std::sort(both.begin(), both.end(), [](auto* a, auto* b) { return a->y() < b->y(); });
    }

    QWidget* first() { return both[0]; }
    QWidget* second() { return both[1]; }

    std::vector<QWidget*> both;
};

TEST_F(BubbleStack, StandsStillWhileThePointerIsInAnyBubble) {
    showTwo();
    const auto place = second()->pos();
    enter(second());
    test::turnFor(2000ms);
    EXPECT_TRUE(closed.empty()) << "the clock of the other bubble is frozen too";
    EXPECT_EQ(second()->pos(), place);

    // The place of a bubble that the user closes stays free for as long as the pointer is in another.
    press(first(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntilClosed(1));
    test::turnFor(1000ms);
    EXPECT_EQ(onlyWindow()->pos(), place);

    leave(second());
    EXPECT_TRUE(test::turnUntil([&] { return onlyWindow()->y() < place.y(); })) << "then the next bubble moves up";
}

TEST_F(BubbleStack, StandsStillWhileTheKeyboardIsInAnyBubble) {
    showTwo();
    const auto place = second()->pos();
    activate(second());
    test::turnFor(2000ms);
    EXPECT_TRUE(closed.empty());
    EXPECT_EQ(second()->pos(), place);
    activate(nullptr);
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(BubbleStack, ABubbleThatComesWhileItStandsStillTakesTheNextFreePlace) {
    showTwo();
    enter(second());
    const auto places = std::pair(first()->pos(), second()->pos());
    press(first(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntilClosed(1));
    show(makeView(savedText), 1);
    const auto now = windows();
    ASSERT_EQ(now.size(), 2U);
    EXPECT_EQ(second()->pos(), places.second);
    const auto* const third = now[0] == second() ? now[1] : now[0];
    EXPECT_GT(third->y(), places.second.y()) << "not in the place of the bubble that has closed";
    test::turnFor(2000ms);
    EXPECT_EQ(closed.size(), 1U) << "its clock stands still too";
}

TEST_F(BubbleStack, ThePointerMayCrossTheGapBetweenTwoBubbles) {
    showTwo();
    const auto place = second()->pos();
    enter(second());
    press(first(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntilClosed(1));
    leave(second());
    test::turnFor(200ms);
    enter(second());
    test::turnFor(1000ms);
    EXPECT_EQ(second()->pos(), place);
}

TEST_F(BubbleStack, ABubbleWaitsForRoomOnAFullScreenAndItsTimeOnlyStartsThen) {
    const AuroraFadeRecord stays{0.05, 60, 0.05};
    while (true) {
        const auto before = windows().size();
        open(makeView(savedText), stays);
        test::turnFor(100ms);
        if (windows().size() == before) {
            break;
        }
        ASSERT_LT(before, 100U);
    }
    const auto full = windows();
    for (auto left = full.begin(); left != full.end(); ++left) {
        for (auto right = left + 1; right != full.end(); ++right) {
            EXPECT_FALSE((*left)
                             ->geometry()
                             .adjusted(14, 24, -14, -24)
                             .intersects((*right)->geometry().adjusted(14, 24, -14, -24)));
        }
    }
    open(makeView("last"), {0.05, 1, 0.05});
    test::turnFor(2000ms);
    EXPECT_TRUE(closed.empty()) << "nobody has seen it yet";
    // Both that wait get room.
    press(full[0], Qt::Key_Escape);
    press(full[1], Qt::Key_Escape);
    EXPECT_TRUE(waitUntilClosed(3)) << "the last one closes by itself";
    EXPECT_EQ(windows().size(), full.size() - 1);
}

TEST_F(BubbleStack, ClosesUpInAMotionUnlessLessIsAskedFor) {
    class Steps final : public QObject {
    public:
        bool eventFilter(QObject*, QEvent* event) override {
            count += event->type() == QEvent::Move ? 1 : 0;
            return false;
        }
        int count = 0;
    };
    for (const bool lessMotion : {false, true}) {
        std::unique_ptr<test::SettingsPortal> portal;
        if (lessMotion) {
            portal = std::make_unique<test::SettingsPortal>();
            portal->settings[QStringLiteral("org.freedesktop.appearance reduced-motion")] = 1U;
            maker = std::make_unique<uilib::qt::QtAuroraBubbleMaker>(center, statusBar);
            maker->prepare();
            test::turnUntil([&] { return portal->asked >= 4; });
            test::turnFor(100ms);
        }
        closed.clear();
        showTwo();
        Steps steps;
        second()->installEventFilter(&steps);
        ASSERT_TRUE(waitUntilClosed(1));
        test::turnFor(500ms);
        EXPECT_EQ(steps.count > 1, !lessMotion) << steps.count;
        press(second(), Qt::Key_Escape);
        ASSERT_TRUE(waitUntilClosed(2));
    }
}

}  // namespace
