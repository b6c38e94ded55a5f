#include "contract/EventLoop.h"
#include "contract/StatusWatcher.h"
#include "platform/qt/QtStatusBar.h"
#include "platform/qt/StatusNotifierItem.h"
#include "platform/ui/ImageView.h"

#include <QByteArray>
#include <QDBusArgument>
#include <chrono>
#include <gtest/gtest.h>
#include <map>
#include <memory>

namespace {

using namespace std::chrono_literals;

class StatusIcon : public ::testing::Test {
protected:
    void show() {
        item = statusBar.statusItemWithLength(platform::StatusBar::variableLength);
        const platform::ui::FolderImageCatalog images(RESOURCES "/images");
        auto view = std::make_shared<platform::ui::ImageView>(platform::ui::Rect{0, 0, 20, 20});
        view->setImage(images.imageNamed("corvoball"));
        item->setView(view);
    }

    static bool waitForItem(const test::StatusWatcher& watcher) {
        return test::turnUntil([&] { return !watcher.items.isEmpty(); });
    }

    platform::qt::QtStatusBar statusBar;
    std::shared_ptr<platform::StatusItem> item;
};

TEST_F(StatusIcon, RegistersWithTheWatcherThatIsThere) {
    const test::StatusWatcher watcher;
    show();
    EXPECT_TRUE(waitForItem(watcher));
}

TEST_F(StatusIcon, RegistersWithAWatcherThatComesLate) {
    show();
    test::turnFor(200ms);
    const test::StatusWatcher watcher;
    EXPECT_TRUE(waitForItem(watcher));
}

TEST_F(StatusIcon, RegistersAgainWhenTheWatcherRestarts) {
    auto watcher = std::make_unique<test::StatusWatcher>();
    show();
    ASSERT_TRUE(waitForItem(*watcher));
    watcher.reset();
    test::turnFor(100ms);
    watcher = std::make_unique<test::StatusWatcher>();
    EXPECT_TRUE(waitForItem(*watcher));
}

TEST_F(StatusIcon, TellsAHostWhatItIs) {
    test::StatusWatcher watcher;
    show();
    ASSERT_TRUE(waitForItem(watcher));
    const auto service = watcher.items.front();
    EXPECT_EQ(watcher.property(service, "Id").toString(), QStringLiteral("record-converter"));
    EXPECT_EQ(watcher.property(service, "Status").toString(), QStringLiteral("Active"));
    EXPECT_EQ(watcher.property(service, "Category").toString(), QStringLiteral("ApplicationStatus"));
    EXPECT_FALSE(watcher.property(service, "ItemIsMenu").toBool());

    const auto toolTip = watcher.property(service, "ToolTip").value<QDBusArgument>();
    EXPECT_EQ(toolTip.currentSignature(), QStringLiteral("(sa(iiay)ss)"));
}

TEST_F(StatusIcon, SaysHowTheWorkGoes) {
    test::StatusWatcher watcher;
    show();
    ASSERT_TRUE(waitForItem(watcher));
    const auto said = [&] {
        const auto toolTip = watcher.property(watcher.items.front(), "ToolTip").value<QDBusArgument>();
        QString text;
        toolTip.beginStructure();
        platform::qt::IconPixelsList pixels;
        toolTip >> text >> pixels >> text >> text;
        toolTip.endStructure();
        return text;
    };
    EXPECT_EQ(said(), QString());
    statusBar.setToolTip("<b>.mkv: 45%");
    EXPECT_EQ(said(), QStringLiteral("&lt;b&gt;.mkv: 45%"));
    statusBar.setToolTip("");
    EXPECT_EQ(said(), QString());
}

TEST_F(StatusIcon, IsDrawnForEverySizeThatPanelsUse) {
    test::StatusWatcher watcher;
    show();
    ASSERT_TRUE(waitForItem(watcher));
    const auto sizes = watcher.property(watcher.items.front(), "IconPixmap").value<QDBusArgument>();
    std::map<int, QByteArray> drawn;
    sizes.beginArray();
    while (!sizes.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        sizes.beginStructure();
        sizes >> width >> height >> pixels;
        sizes.endStructure();
        EXPECT_EQ(width, height);
        EXPECT_EQ(pixels.size(), width * height * 4);
        drawn[width] = pixels;
    }
    sizes.endArray();
    for (const int side : {16, 20, 22, 24, 32, 48}) {
        ASSERT_TRUE(drawn.contains(side)) << side;
        // The middle is drawn, the corner is not: in network byte order alpha comes first.
        const auto middle = (side / 2 * side + side / 2) * 4;
        EXPECT_EQ(static_cast<unsigned char>(drawn[side][middle]), 255) << side;
        EXPECT_EQ(static_cast<unsigned char>(drawn[side][0]), 0) << side;
    }
}

TEST_F(StatusIcon, TellsOfAPress) {
    test::StatusWatcher watcher;
    int presses = 0;
    statusBar.setActivatedHandler([&] { ++presses; });
    show();
    ASSERT_TRUE(waitForItem(watcher));
    watcher.activate(watcher.items.front());
    EXPECT_TRUE(test::turnUntil([&] { return presses == 1; }));
}

TEST_F(StatusIcon, WithoutAnyStatusAreaItHasNoPlaceAndHarmsNothing) {
    show();
    test::turnFor(200ms);
    EXPECT_FALSE(statusBar.desktopFrameOf(*item->view()).has_value());
    item->setView(nullptr);
    EXPECT_EQ(item->view(), nullptr);
}

}  // namespace
