#include "contract/EventLoop.h"
#include "contract/StatusWatcher.h"
#include "platform/qt/ActivationToken.h"
#include "platform/qt/BusMenu.h"
#include "platform/qt/QtStatusBar.h"
#include "platform/ui/ImageView.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusVariant>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using platform::qt::BusMenuItem;
using Lines = std::vector<std::string>;

/// Counts what a menu announces.
class MenuChanges final : public QObject {
    Q_OBJECT

public:
    int layouts = 0;
    int labels = 0;

    Q_SLOT void onLayout(uint, int) { ++layouts; }
    Q_SLOT void onLabels(const QDBusMessage&) { ++labels; }
};

class StatusMenu : public testing::Test {
protected:
    void SetUp() override {
        item = statusBar.statusItemWithLength(platform::StatusBar::variableLength);
        item->setView(std::make_shared<platform::ui::ImageView>(platform::ui::Rect{0, 0, 20, 20}));
        ASSERT_TRUE(test::turnUntil([&] { return !watcher.items.isEmpty(); }));
        service = watcher.items.front();
        // The host is known once the status bar has its answer, which comes after the registration.
        test::turnFor(100ms);
    }

    platform::qt::StatusMenuEntry entry(const std::string& key, const std::string& text) {
        return {key, text, [this, key] {
                    chosen.push_back(key);
                    token = platform::qt::takeActivationToken().toStdString();
                }};
    }

    BusMenuItem layout() {
        const auto reply = watcher.askMenu(service, "GetLayout", {0, -1, QStringList()});
        return reply.arguments().size() == 2 ? qdbus_cast<BusMenuItem>(reply.arguments().at(1)) : BusMenuItem();
    }

    std::vector<BusMenuItem> children() {
        std::vector<BusMenuItem> items;
        const auto top = layout();
        for (const auto& child : top.children) {
            items.push_back(qdbus_cast<BusMenuItem>(child));
        }
        return items;
    }

    /// As the panel draws them: a line for a separator, parentheses around what can't be chosen.
    Lines drawn() {
        Lines lines;
        for (const auto& child : children()) {
            const auto label = child.properties["label"].toString().toStdString();
            lines.push_back(child.properties["type"] == "separator"            ? "----"
                            : child.properties.value("enabled", true).toBool() ? label
                                                                               : "(" + label + ")");
        }
        return lines;
    }

    QDBusMessage choose(int id) {
        return watcher.askMenu(service, "Event",
                               {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
    }

    test::StatusWatcher watcher;
    platform::qt::QtStatusBar statusBar;
    std::shared_ptr<platform::StatusItem> item;
    QString service;
    Lines chosen;
    std::string token;
};

TEST_F(StatusMenu, HasTheApplicationsNameAloneWhileNothingIsConverted) {
    EXPECT_EQ(drawn(), (Lines{"(Record converter)"}));
}

TEST_F(StatusMenu, NamesWhatIsConvertedAndWhatWaits) {
    statusBar.setMenu({entry("/a.mkv", "a_b.mkv: 45%"), entry("/c.mkv", "c.mkv")});
    EXPECT_EQ(drawn(), (Lines{"(Record converter)", "----", "a__b.mkv: 45%", "c.mkv"}));
}

TEST_F(StatusMenu, ShortensALongNameButNotItsPercentage) {
    statusBar.setMenu({entry("/a.mkv", std::string(200, 'a') + ".mkv: 45%")});
    EXPECT_EQ(drawn().back(), std::string(39, 'a') + "…" + std::string(11, 'a') + ".mkv: 45%");
}

TEST_F(StatusMenu, AChoiceFromAMenuDrawnEarlierMeansTheEntryThatWasSeen) {
    statusBar.setMenu({entry("/a.mkv", "a.mkv: 99%"), entry("/b.mkv", "b.mkv"), entry("/c.mkv", "c.mkv")});
    const auto seen = children();
    statusBar.setMenu({entry("/b.mkv", "b.mkv: 0%"), entry("/c.mkv", "c.mkv")});
    choose(seen.at(3).id);
    EXPECT_TRUE(test::turnUntil([&] { return !chosen.empty(); }));
    EXPECT_EQ(chosen, (Lines{"/b.mkv"}));
}

TEST_F(StatusMenu, AChoiceOfAnEntryThatHasGoneIsAnErrorAndOpensNothing) {
    statusBar.setMenu({entry("/a.mkv", "a.mkv: 99%")});
    const auto seen = children();
    statusBar.setMenu({});
    EXPECT_EQ(choose(seen.back().id).errorName(), QDBusError::errorString(QDBusError::InvalidArgs));
    test::turnFor(50ms);
    EXPECT_EQ(chosen, Lines{});
}

TEST_F(StatusMenu, OpensNothingWhenThePointerOnlyPassesOver) {
    statusBar.setMenu({entry("/a.mkv", "a.mkv")});
    watcher.askMenu(
        service, "Event",
        {children().back().id, QStringLiteral("hovered"), QVariant::fromValue(QDBusVariant(QString())), 0U});
    test::turnFor(50ms);
    EXPECT_EQ(chosen, Lines{});
}

TEST_F(StatusMenu, AnnouncesAPercentageAsALabelAndARecordingAsALayout) {
    MenuChanges changes;
    ASSERT_TRUE(watcher.listenToMenu(service, "LayoutUpdated", &changes, SLOT(onLayout(uint, int))));
    ASSERT_TRUE(watcher.listenToMenu(service, "ItemsPropertiesUpdated", &changes, SLOT(onLabels(QDBusMessage))));
    statusBar.setMenu({entry("/a.mkv", "a.mkv: 1%")});
    EXPECT_TRUE(test::turnUntil([&] { return changes.layouts == 1; }));
    statusBar.setMenu({entry("/a.mkv", "a.mkv: 2%")});
    EXPECT_TRUE(test::turnUntil([&] { return changes.labels == 1; }));
    EXPECT_EQ(changes.layouts, 1);
    statusBar.setMenu({entry("/a.mkv", "a.mkv: 2%")});
    statusBar.setMenu({});
    EXPECT_TRUE(test::turnUntil([&] { return changes.layouts == 2; }));
    EXPECT_EQ(changes.labels, 1);
}

TEST_F(StatusMenu, PassesOnThePermissionToComeToTheFront) {
    statusBar.setMenu({entry("/a.mkv", "a.mkv")});
    watcher.provideActivationToken(service, "the token");
    choose(children().back().id);
    EXPECT_TRUE(test::turnUntil([&] { return !chosen.empty(); }));
    EXPECT_EQ(token, "the token");
}

TEST_F(StatusMenu, APressOfTheIconUsesUpThePermission) {
    watcher.provideActivationToken(service, "the token");
    bool isActivated = false;
    statusBar.setActivatedHandler([&] { isActivated = true; });
    watcher.activate(service);
    EXPECT_TRUE(test::turnUntil([&] { return isActivated; }));
    EXPECT_EQ(platform::qt::takeActivationToken(), QString());
}

}  // namespace

#include "StatusMenuTest.moc"
