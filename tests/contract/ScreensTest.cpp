/// The stack of bubbles on a desktop of two screens.

#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "contract/PrivateBus.h"
#include "platform/qt/QtApplication.h"
#include "support/TemporaryFolder.h"

#include <QApplication>
#include <QCursor>
#include <QScreen>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

using namespace std::chrono_literals;

const std::string text = "Your recording has been saved to your computer.";

// Of both screens, which stand side by side.
constexpr int width = 1280;

class Screens : public test::BubbleKit {
protected:
    void SetUp() override { ASSERT_EQ(QGuiApplication::screens().size(), 2); }

    static void pointAt(int screen) { QCursor::setPos(screen * width + width / 2, 400); }

    /// Whether every open bubble is on this screen.
    static bool allAreOn(int screen) {
        const auto open = windows();
        return !open.empty() && std::ranges::all_of(open, [&](const QWidget* window) {
            return window->geometry().center().x() / width == screen;
        });
    }
};

TEST_F(Screens, TheFirstBubbleStandsWhereThePointerIs) {
    for (const int screen : {0, 1}) {
        pointAt(screen);
        show(makeView(text));
        EXPECT_TRUE(allAreOn(screen));
        press(onlyWindow(), Qt::Key_Escape);
        ASSERT_TRUE(waitUntilClosed(static_cast<std::size_t>(screen) + 1));
    }
}

TEST_F(Screens, AStackStaysOnItsFirstScreenWhenOneComesAndOneLeaves) {
    pointAt(1);
    show(makeView(text), 2);
    pointAt(0);
    show(makeView(text));
    EXPECT_TRUE(allAreOn(1));
    ASSERT_TRUE(waitUntilClosed(1));
    // The rest closes up.
    test::turnFor(800ms);
    EXPECT_TRUE(allAreOn(1));
}

}  // namespace

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    const test::TemporaryFolder folder;
    const auto screens = folder.path() + "/screens.json";
    std::ofstream(screens) << R"({"screens": [
        {"name": "left", "x": 0, "y": 0, "width": 1280, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
        {"name": "right", "x": 1280, "y": 0, "width": 1280, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}
    ]})";
    setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens).c_str(), 1);
    const test::PrivateBus bus;
    platform::qt::QtApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
