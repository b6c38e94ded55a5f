/// Bubbles where no window can be placed: the desktop's notification server shows them.

#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "contract/NotificationServer.h"
#include "platform/qt/ActivationToken.h"
#include "support/FakeSystemLog.h"
#include "uilib/AuroraRoundedButton.h"

#include <QColor>
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QEventLoop>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

const std::string savedText = "Your recording has been saved to your computer.";

class NotificationBubble : public test::BubbleKit {
protected:
    std::shared_ptr<CAuroraBubble> notify(const std::shared_ptr<platform::ui::View>& view, double seconds = 60) {
        const auto before = server->shown.size();
        auto bubble = open(view, {0.1, seconds, 0.1});
        EXPECT_TRUE(test::turnUntil([&] { return server->shown.size() > before && log.lines().size() > before; }));
        return bubble;
    }

    const test::NotificationServer::Shown& last() const { return server->shown.back(); }

    std::unique_ptr<test::NotificationServer> server = std::make_unique<test::NotificationServer>();
    test::FakeSystemLog log;
};

TEST_F(NotificationBubble, SaysTheTextAndTheFilesNameWithButtonsTimeAndKind) {
    const auto view = makeView(savedText, {"Open", "View in Folder"});
    view->setToolTip("talk.mp4");
    notify(view, 15);
    EXPECT_EQ(last().summary.toStdString(), savedText);
    EXPECT_EQ(last().body, QStringLiteral("talk.mp4"));
    EXPECT_EQ(last().actions, (QStringList{"default", "", "0", "Open", "1", "View in Folder"}));
    EXPECT_GE(last().timeout, 15000) << "the bubble closes it, not the server";
    EXPECT_EQ(last().hints.value("category").toString(), QStringLiteral("transfer.complete"));
    EXPECT_EQ(last().hints.value("desktop-entry").toString(), QStringLiteral("org.recordconverter.RecordConverter"));
    EXPECT_EQ(last().icon, QStringLiteral("org.recordconverter.RecordConverter"));
    EXPECT_EQ(last().hints.value("urgency").toUInt(), 1U);
    EXPECT_TRUE(windows().empty());
}

/// The colour in the middle of the lower left quarter's edge, where the images of both kinds are plain.
QColor colorOfPicture(const QVariantMap& hints) {
    const auto argument = hints.value(QStringLiteral("image-data")).value<QDBusArgument>();
    EXPECT_EQ(argument.currentSignature(), QStringLiteral("(iiibiiay)"));
    int width = 0;
    int height = 0;
    int row = 0;
    bool hasAlpha = false;
    int bits = 0;
    int channels = 0;
    QByteArray pixels;
    argument.beginStructure();
    argument >> width >> height >> row >> hasAlpha >> bits >> channels >> pixels;
    argument.endStructure();
    EXPECT_EQ(pixels.size(), row * height);
    EXPECT_EQ(bits * channels, 32);
    const auto* const pixel = reinterpret_cast<const uchar*>(pixels.constData()) + height / 2 * row + width / 8 * 4;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST_F(NotificationBubble, ShowsThePictureOfItsKind) {
    notify(makeView(savedText));
    const auto saved = colorOfPicture(last().hints);
    EXPECT_GT(saved.green(), saved.red() + 50);
    bubbleKind = AuroraBubbleKind::failure;
    notify(makeView("We had a problem.", {}, "icn_error"));
    const auto failed = colorOfPicture(last().hints);
    EXPECT_GT(failed.red(), failed.green() + 50);
    bubbleKind = AuroraBubbleKind::news;
    notify(makeView("It is being prepared.", {}, "corvo_logo"));
    EXPECT_FALSE(last().hints.contains("image-data")) << "white on nothing; the application's icon is shown";
}

TEST_F(NotificationBubble, TellsAFailureApart) {
    bubbleKind = AuroraBubbleKind::failure;
    notify(makeView("We had a problem.", {}, "icn_error"));
    EXPECT_EQ(last().hints.value("category").toString(), QStringLiteral("transfer.error"));
    EXPECT_EQ(last().hints.value("urgency").toUInt(), 2U);
    EXPECT_TRUE(last().actions.empty());
}

TEST_F(NotificationBubble, KeepsMarkupInANameFromBeingMarkup) {
    const auto view = makeView(savedText);
    view->setToolTip("<b>& a \"name\"</b>");
    notify(view);
    EXPECT_EQ(last().body, QStringLiteral("&lt;b&gt;&amp; a &quot;name&quot;&lt;/b&gt;"));
}

TEST_F(NotificationBubble, LeavesOutWhatTheServerCannotShow) {
    server.reset();
    server = std::make_unique<test::NotificationServer>(QStringList());
    const auto view = makeView(savedText, {"Open"});
    view->setToolTip("talk.mp4");
    notify(view);
    EXPECT_EQ(last().summary.toStdString(), savedText);
    EXPECT_TRUE(last().body.isEmpty());
    EXPECT_TRUE(last().actions.empty());
}

TEST_F(NotificationBubble, AnActionPressesItsButtonAndTheBubbleCloses) {
    const auto bubble = notify(makeView(savedText, {"Open", "View in Folder"}));
    server->press(last().id, QStringLiteral("1"));
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_EQ(pressed, std::vector<std::string>{"View in Folder"});
    EXPECT_EQ(closed, std::vector<const void*>{bubble.get()});
}

TEST_F(NotificationBubble, APressOnTheNotificationItselfIsTheFirstButton) {
    notify(makeView(savedText, {"Open", "View in Folder"}));
    server->press(last().id, QStringLiteral("default"));
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_EQ(pressed, std::vector<std::string>{"Open"});
}

TEST_F(NotificationBubble, HandsTheActivationTokenToWhatThePressOpens) {
    const auto view = makeView(savedText, {"Open"});
    QString token;
    view->buttonsArray().front()->setAction([&] { token = platform::qt::takeActivationToken(); });
    notify(view);
    server->press(last().id, QStringLiteral("0"), QStringLiteral("token-7"));
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_EQ(token, QStringLiteral("token-7"));
    EXPECT_TRUE(platform::qt::takeActivationToken().isEmpty());
}

TEST_F(NotificationBubble, ClosesWhenTheServerPutsItAway) {
    const auto bubble = notify(makeView(savedText));
    server->expire(last().id);
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_EQ(closed, std::vector<const void*>{bubble.get()});
}

TEST_F(NotificationBubble, PaysNoHeedToOtherNotifications) {
    notify(makeView(savedText, {"Open"}));
    server->press(last().id + 1, QStringLiteral("0"));
    server->expire(last().id + 1);
    test::turnFor(200ms);
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(pressed.empty());
}

TEST_F(NotificationBubble, PaysNoHeedToSignalsOfAnotherSender) {
    notify(makeView(savedText, {"Open"}));
    auto forged =
        QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                   QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
    forged << last().id << QStringLiteral("0");
    QDBusConnection::sessionBus().send(forged);
    test::turnFor(200ms);
    EXPECT_TRUE(pressed.empty());
}

TEST_F(NotificationBubble, TakesItsNotificationAwayWhenItIsClosed) {
    const auto bubble = notify(makeView(savedText));
    bubble->close();
    EXPECT_TRUE(closed.empty());
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_TRUE(test::turnUntil([&] { return server->closedByClient.size() == 1; }));
    EXPECT_EQ(server->closedByClient.front(), last().id);
    test::turnFor(100ms);
    EXPECT_EQ(closed.size(), 1U);
}

TEST_F(NotificationBubble, EndsByItselfWhenTheServerForgetsToEndIt) {
    notify(makeView(savedText), 0.4);
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_TRUE(test::turnUntil([&] { return server->closedByClient.size() == 1; }));
}

TEST_F(NotificationBubble, LeavesItsNotificationToAServerThatKeepsThemForLater) {
    server.reset();
    server = std::make_unique<test::NotificationServer>(QStringList{QStringLiteral("persistence")});
    notify(makeView(savedText), 0.4);
    ASSERT_TRUE(waitUntilClosed(1));
    test::turnFor(100ms);
    EXPECT_TRUE(server->closedByClient.empty());
    EXPECT_EQ(server->shown.size(), 1U);
}

TEST_F(NotificationBubble, LeavesNoButtonThatNobodyAnswers) {
    server.reset();
    server = std::make_unique<test::NotificationServer>(
        QStringList{QStringLiteral("persistence"), QStringLiteral("actions")});
    notify(makeView(savedText, {"Open"}), 0.4);
    const auto id = last().id;
    EXPECT_FALSE(last().actions.empty());
    ASSERT_TRUE(waitUntilClosed(1));
    ASSERT_TRUE(test::turnUntil([&] { return server->shown.size() == 2; }));
    EXPECT_EQ(last().replaces, id);
    EXPECT_EQ(last().summary.toStdString(), savedText);
    EXPECT_TRUE(last().actions.empty());
    EXPECT_EQ(last().hints.value("urgency").toUInt(), 0U) << "it need not be seen twice";
    EXPECT_TRUE(server->closedByClient.empty());
}

TEST_F(NotificationBubble, IsTakenAwayAlsoWhenItIsClosedBeforeItsNumberCame) {
    std::shared_ptr<CAuroraBubble> bubble;
    server->setOnNotify([&] { bubble->close(); });
    bubble = open(makeView(savedText), {0.1, 60, 0.1});
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_TRUE(test::turnUntil([&] { return server->closedByClient.size() == 1; }));
    EXPECT_EQ(server->closedByClient.front(), last().id);
}

class DoNotDisturb : public NotificationBubble {
protected:
    DoNotDisturb() {
        server.reset();
        server = std::make_unique<test::NotificationServer>(QStringList{QStringLiteral("inhibitions")});
    }
};

TEST_F(DoNotDisturb, ABubbleHeldBackIsToldWhenThatEnds) {
    server->setInhibited(true);
    notify(makeView(savedText), 0.5);
    test::turnFor(1500ms);
    EXPECT_TRUE(closed.empty()) << "the user has not seen it yet";
    server->setInhibited(false);
    ASSERT_TRUE(test::turnUntil([&] { return server->shown.size() == 2; }));
    EXPECT_EQ(last().replaces, server->shown.front().id);
    EXPECT_EQ(last().summary.toStdString(), savedText);
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(DoNotDisturb, OneThatIsNotHeldBackIsToldOnce) {
    notify(makeView(savedText), 0.5);
    ASSERT_TRUE(waitUntilClosed(1));
    EXPECT_EQ(server->shown.size(), 1U);
}

TEST_F(NotificationBubble, AServerThatVanishesClosesTheBubble) {
    notify(makeView(savedText));
    server.reset();
    EXPECT_TRUE(waitUntilClosed(1));
}

TEST_F(NotificationBubble, EachBubbleLooksForAServerAnew) {
    server.reset();
    const auto text = savedText;
    show(makeView(text));
    EXPECT_EQ(windows().size(), 1U);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front(), text) << "without display and server the log reports it in one sentence";
    server = std::make_unique<test::NotificationServer>();
    open(makeView(savedText), {0.1, 60, 0.1});
    EXPECT_TRUE(test::turnUntil([&] { return server->shown.size() == 1; }));
    EXPECT_EQ(windows().size(), 1U);
}

}  // namespace
