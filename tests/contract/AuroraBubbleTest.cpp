#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "uilib/AuroraRoundedButton.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

const std::string savedText = "Your recording has been saved to your computer.";

class AuroraBubble : public test::BubbleKit {
protected:
    static QAbstractButton* button(QWidget* window, const QString& name) {
        for (auto* candidate : window->findChildren<QAbstractButton*>()) {
            if (candidate->accessibleName() == name) {
                return candidate;
            }
        }
        return nullptr;
    }
};

TEST_F(AuroraBubble, PutsEveryPartWhereTheViewSaysToThePixel) {
    const auto view = makeView(savedText, {"Open", "View in Folder"});
    show(view);
    auto* const window = onlyWindow();
    ASSERT_NE(window, nullptr);
    auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->size(), QSize(static_cast<int>(view->bubbleWidth()), static_cast<int>(view->bubbleHeight())));

    const auto height = static_cast<double>(view->bubbleHeight());
    const auto widgets = client->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    ASSERT_EQ(static_cast<std::size_t>(widgets.size()), view->subviews().size());
    for (std::size_t i = 0; i < view->subviews().size(); ++i) {
        if (view->subviews()[i] == view->closeButton()) {
            continue;  // see below
        }
        const auto& frame = view->subviews()[i]->frame();
        const auto geometry = widgets[static_cast<int>(i)]->geometry();
        EXPECT_EQ(geometry.left(), std::lround(frame.x)) << i;
        EXPECT_EQ(geometry.top(), std::lround(height - frame.y - frame.height)) << i;
        EXPECT_EQ(geometry.left() + geometry.width(), std::lround(frame.x + frame.width)) << i;
        EXPECT_EQ(geometry.top() + geometry.height(), std::lround(height - frame.y)) << i;
    }
}

TEST_F(AuroraBubble, TheCloseButtonCanBeHitOnTwentyFourPointsAroundItsPicture) {
    const auto view = makeView(savedText);
    show(view);
    const auto* const close = button(onlyWindow(), QStringLiteral("Close"));
    EXPECT_EQ(close->size(), QSize(24, 24));
    const auto& frame = view->closeButton()->frame();
    const auto height = static_cast<double>(view->bubbleHeight());
    EXPECT_EQ(close->geometry().left() + 12, std::lround(frame.x + frame.width / 2));
    EXPECT_EQ(close->geometry().top() + 12, std::lround(height - frame.y - frame.height / 2));
}

TEST_F(AuroraBubble, IsAnnouncedOnceAndOnlyAfterTheCallThatAskedHasReturned) {
    const auto bubble = show(makeView(savedText)).lock();
    bubble->close();
    bubble->close();
    EXPECT_TRUE(closed.empty());
    ASSERT_TRUE(waitUntilClosed(1));
    test::turnFor(200ms);
    EXPECT_EQ(closed, std::vector<const void*>{bubble.get()});
    EXPECT_TRUE(windows().empty());
}

TEST_F(AuroraBubble, LivesUntilItHasClosedWhoeverLetsGoOfIt) {
    const auto bubble = show(makeView(savedText));
    ASSERT_FALSE(bubble.expired());
    bubble.lock()->close();
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_TRUE(test::turnUntil([&] { return bubble.expired(); }));
}

TEST_F(AuroraBubble, TheLastOneIsToldOfWhenItIsNoMore) {
    std::vector<bool> gone;
    const auto first = show(makeView(savedText));
    const auto last = show(makeView(savedText));
    const auto open = windows();
    const std::vector<QPointer<QWidget>> both(open.begin(), open.end());
    const auto isDeleted = [](const QPointer<QWidget>& window) { return window.isNull(); };
    maker->setAllGoneHandler([&] {
        EXPECT_TRUE(first.expired());
        EXPECT_TRUE(last.expired());
        gone.push_back(std::ranges::all_of(both, isDeleted));
    });
    first.lock()->close();
    ASSERT_TRUE(waitUntilClosed(1));
    test::turnFor(100ms);
    EXPECT_TRUE(gone.empty()) << "another is still open";
    last.lock()->close();
    ASSERT_TRUE(waitUntilClosed(2));
    EXPECT_TRUE(test::turnUntil([&] { return !gone.empty(); }));
    EXPECT_EQ(gone, std::vector<bool>{true});

    const auto next = show(makeView(savedText));
    next.lock()->close();
    EXPECT_TRUE(test::turnUntil([&] { return gone.size() == 2; })) << "each time anew";
}

TEST_F(AuroraBubble, GoesByItselfWhenItsTimeHasCome) {
    const auto begin = std::chrono::steady_clock::now();
    show(makeView(savedText), 0.6);
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 600ms);
}

TEST_F(AuroraBubble, StaysWhileThePointerIsOverItAndThreeSecondsLonger) {
    show(makeView(savedText), 0.5);
    auto* const window = onlyWindow();
    enter(window);
    test::turnFor(1500ms);
    EXPECT_TRUE(closed.empty());
    leave(window);
    const auto left = std::chrono::steady_clock::now();
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_GE(std::chrono::steady_clock::now() - left, 2850ms);
}

TEST_F(AuroraBubble, StaysWhileTheKeyboardIsInItAndThreeSecondsLonger) {
    show(makeView(savedText, {"Open"}), 0.5);
    activate(onlyWindow());
    test::turnFor(1500ms);
    EXPECT_TRUE(closed.empty());
    activate(nullptr);
    const auto left = std::chrono::steady_clock::now();
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_GE(std::chrono::steady_clock::now() - left, 2850ms);
}

TEST_F(AuroraBubble, NeverAsksForTheKeyboardWhenItShowsItself) {
    show(makeView(savedText, {"Open"}));
    const auto* const window = onlyWindow();
    EXPECT_TRUE(window->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(window->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_FALSE(window->isActiveWindow());
    EXPECT_FALSE(window->windowFlags().testFlag(Qt::X11BypassWindowManagerHint));
}

TEST_F(AuroraBubble, EscapeClosesItOnceItHasTheKeyboard) {
    show(makeView(savedText));
    press(onlyWindow(), Qt::Key_Escape);
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(AuroraBubble, TheWindowManagersCloseFadesItOutLikeAnyOther) {
    show(makeView(savedText));
    onlyWindow()->close();
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(AuroraBubble, APressRunsItsOwnButtonOnce) {
    show(makeView(savedText, {"Open", "View in Folder"}));
    button(onlyWindow(), QStringLiteral("View in Folder"))->click();
    EXPECT_EQ(pressed, std::vector<std::string>{"View in Folder"});
}

TEST_F(AuroraBubble, AButtonMayCloseItsOwnBubble) {
    const auto view = makeView(savedText, {"Open"});
    const auto bubble = show(view);
    view->buttonsArray().front()->setAction([&] { bubble.lock()->close(); });
    button(onlyWindow(), QStringLiteral("Open"))->click();
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(AuroraBubble, ADisabledButtonTakesNoPresses) {
    const auto view = makeView(savedText, {"Open"});
    view->buttonsArray().front()->setEnabled(false);
    show(view);
    button(onlyWindow(), QStringLiteral("Open"))->click();
    EXPECT_TRUE(pressed.empty());
}

TEST_F(AuroraBubble, ReturnAndSpacePressTheFocusedButton) {
    show(makeView(savedText, {"Open"}));
    auto* const open = button(onlyWindow(), QStringLiteral("Open"));
    press(open, Qt::Key_Return);
    EXPECT_TRUE(test::turnUntil([&] { return pressed.size() == 1; }));
    press(open, Qt::Key_Space);
    QKeyEvent up(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(open, &up);
    EXPECT_TRUE(test::turnUntil([&] { return pressed.size() == 2; }));
}

TEST_F(AuroraBubble, SeveralStandApartAndCloseUpWhenOneLeaves) {
    const auto first = show(makeView(savedText)).lock();
    show(makeView(savedText));
    auto both = windows();
    ASSERT_EQ(both.size(), 2U);
    std::sort(both.begin(), both.end(), [](auto* a, auto* b) { return a->y() < b->y(); });
    const auto bodyOf = [](QWidget* window) {
        auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
        return QRect(client->mapToGlobal(QPoint()), client->size());
    };
    EXPECT_FALSE(bodyOf(both[0]).intersects(bodyOf(both[1])));
    const auto top = bodyOf(both[0]).topLeft();
    first->close();
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_TRUE(test::turnUntil([&] { return bodyOf(onlyWindow()).topLeft() == top; }));
}

TEST_F(AuroraBubble, TakesThePlaceOfOneThatIsLeavingAtOnce) {
    const auto first = show(makeView(savedText)).lock();
    const auto place = onlyWindow()->pos();
    first->close();
    const auto second = open(makeView(savedText), {0.05, 60, 0.05});
    EXPECT_TRUE(test::turnUntil([&] { return windows().size() == 1 && closed.size() == 1; }));
    EXPECT_EQ(onlyWindow()->pos(), place);
}

TEST_F(AuroraBubble, SpeaksToScreenReadersInTextsAndNamedButtons) {
    show(makeView(savedText, {"Open", "Save & Quit"}));
    std::vector<std::pair<QAccessible::Role, QString>> said;
    const std::function<void(QAccessibleInterface*)> walk = [&](QAccessibleInterface* part) {
        said.emplace_back(part->role(), part->text(QAccessible::Name));
        for (int i = 0; i < part->childCount(); ++i) {
            walk(part->child(i));
        }
    };
    walk(QAccessible::queryAccessibleInterface(onlyWindow()));
    const auto has = [&](QAccessible::Role role, const char* name) {
        return std::count(said.begin(), said.end(), std::pair(role, QString::fromUtf8(name))) == 1;
    };
    ASSERT_FALSE(said.empty());
    EXPECT_EQ(said.front(), std::pair(QAccessible::Notification, QString::fromStdString(savedText)));
    EXPECT_TRUE(has(QAccessible::StaticText, savedText.c_str()));
    EXPECT_TRUE(has(QAccessible::PushButton, "Open"));
    EXPECT_TRUE(has(QAccessible::PushButton, "Save & Quit"));
    EXPECT_TRUE(has(QAccessible::PushButton, "Close"));
}

TEST_F(AuroraBubble, StandsMirroredWhereTheApplicationReadsFromRightToLeft) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    const auto view = makeView(savedText, {"Open"});
    show(view);
    const auto* const open = button(onlyWindow(), QStringLiteral("Open"));
    EXPECT_EQ(open->x(), 8) << "a view 8 points from the right edge is mirrored to 8 points from the left one";
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(AuroraBubble, AMissingImageShowsNothingAndHarmsNothing) {
    show(makeView(savedText, {"Open"}, "no such picture"));
    EXPECT_FALSE(onlyWindow()->grab().isNull());
}

TEST_F(AuroraBubble, AFileNameOfFourThousandCharactersStaysInsideItsBubble) {
    const auto view = makeView("FilePath = /home/u/" + std::string(4000, 'x') + ".mkv");
    show(view);
    const auto* const text = onlyWindow()->findChild<QLabel*>();
    EXPECT_EQ(text->width(), 199);
    EXPECT_GT(text->height(), 16 * 50);
    EXPECT_FALSE(onlyWindow()->grab().isNull());
}

}  // namespace
