#include "platform/qt/QtWorkspace.h"

#include "contract/EventLoop.h"
#include "platform/FileURL.h"
#include "support/FakeSystemLog.h"
#include "support/TemporaryFolder.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QObject>
#include <QStringList>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using platform::FileURL;

/// A file manager on its own connection, which accepts or refuses what it is asked.
class FileManager final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    explicit FileManager(bool accepts) : accepts_(accepts) {
        bus_.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), this, QDBusConnection::ExportAllSlots);
        bus_.registerService(QStringLiteral("org.freedesktop.FileManager1"));
    }
    ~FileManager() override {
        bus_.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
        QDBusConnection::disconnectFromBus(name);
    }

    QStringList asked;

    Q_SLOT void ShowItems(const QStringList& items, const QString&) {
        asked += items;
        if (!accepts_) {
            sendErrorReply(QDBusError::Failed, QStringLiteral("no windows today"));
        }
    }

private:
    static constexpr auto name = QLatin1String("file manager of the test");

    const bool accepts_;
    QDBusConnection bus_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
};

class QtWorkspaceTest : public testing::Test {
protected:
    QtWorkspaceTest() {
        ::setenv("PATH", (temporary.path() + ":" + formerPath).c_str(), 1);
        workspace.setFailureHandler([this](const FileURL& url) { failed.push_back(url.absoluteString()); });
    }
    ~QtWorkspaceTest() override { ::setenv("PATH", formerPath.c_str(), 1); }

    /// Installs an xdg-open that writes its argument down and then runs these shell commands.
    void installOpener(const std::string& commands) const {
        const auto path = temporary.path() + "/xdg-open";
        std::ofstream(path) << "#!/bin/sh\nprintf '%s\\n' \"$1\" >>'" << opened() << "'\n" << commands << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    std::string opened() const { return temporary.path() + "/opened"; }

    std::vector<std::string> linesOf(const std::string& path) const {
        std::ifstream input(path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(input, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    bool waitForEnd() {
        return test::turnUntil([&] { return !workspace.isOpening(); });
    }

    using Lines = std::vector<std::string>;

    const test::TemporaryFolder temporary;
    const std::string formerPath = std::getenv("PATH");
    test::FakeSystemLog log;
    platform::qt::QtWorkspace workspace;
    const FileURL file = FileURL::fileURLWithPath("/home/ada/talk.mp4", false);
    Lines failed;
};

TEST_F(QtWorkspaceTest, AnOpenerThatSucceedsIsNoFailure) {
    installOpener("exit 0");
    EXPECT_TRUE(workspace.openURL(file));
    EXPECT_TRUE(workspace.isOpening());
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(failed, Lines{});
    EXPECT_EQ(linesOf(opened()), (Lines{"file:///home/ada/talk.mp4"}));
}

TEST_F(QtWorkspaceTest, AnOpenerThatFailsIsReportedOnceAndLogged) {
    installOpener("exit 3");
    EXPECT_TRUE(workspace.openURL(file));
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(failed, (Lines{"file:///home/ada/talk.mp4"}));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front(), "nothing on this desktop can open file:///home/ada/talk.mp4: xdg-open ended with 3");
}

TEST_F(QtWorkspaceTest, AnOpenerThatCrashesIsReported) {
    installOpener("kill -SEGV $$");
    workspace.openURL(file);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(failed.size(), 1U);
}

TEST_F(QtWorkspaceTest, AnOpenerThatCannotRunIsReported) {
    std::ofstream(temporary.path() + "/xdg-open") << "#!/no/such/shell\n";
    std::filesystem::permissions(temporary.path() + "/xdg-open", std::filesystem::perms::owner_all);
    workspace.openURL(file);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(failed.size(), 1U);
}

TEST_F(QtWorkspaceTest, AProgramThatFailsAfterItHasOpenedTheFileIsNoFailureOfTheOpening) {
    platform::qt::QtWorkspace impatient(200ms);
    impatient.setFailureHandler([this](const FileURL& url) { failed.push_back(url.absoluteString()); });
    installOpener("sleep 0.5; exit 3");
    impatient.openURL(file);
    EXPECT_TRUE(impatient.isOpening());
    test::turnFor(300ms);
    EXPECT_FALSE(impatient.isOpening());
    test::turnFor(500ms);
    EXPECT_EQ(failed, Lines{});
}

TEST_F(QtWorkspaceTest, TheOpenedProgramHasASessionOfItsOwnAndOutlivesTheWorkspace) {
    const auto session = temporary.path() + "/session";
    installOpener("sleep 0.3; ps -o sid= -p $$ >'" + session + "'; echo $$ >>'" + session + "'");
    {
        platform::qt::QtWorkspace shortLived;
        shortLived.openURL(file);
        ASSERT_TRUE(test::turnUntil([&] { return std::filesystem::exists(opened()); }));
    }
    ASSERT_TRUE(test::turnUntil([&] { return linesOf(session).size() == 2; }));
    EXPECT_EQ(std::stoi(linesOf(session)[0]), std::stoi(linesOf(session)[1]));
}

TEST_F(QtWorkspaceTest, AFileManagerSelectsTheFile) {
    FileManager manager(true);
    installOpener("exit 0");
    EXPECT_TRUE(workspace.openURL(file.deletingLastPathComponent()));
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(manager.asked, QStringList{QStringLiteral("file:///home/ada/talk.mp4")});
    EXPECT_EQ(linesOf(opened()), Lines{});
}

TEST_F(QtWorkspaceTest, WhatAFileManagerRefusesIsOpenedByTheDesktop) {
    const FileManager manager(false);
    installOpener("exit 0");
    workspace.openURL(file.deletingLastPathComponent());
    EXPECT_TRUE(test::turnUntil([&] { return !linesOf(opened()).empty(); }));
    EXPECT_EQ(linesOf(opened()), (Lines{"file:///home/ada/"}));
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(failed, Lines{});
}

TEST_F(QtWorkspaceTest, AFolderThatNeitherCanOpenIsReportedOnceWithItsItem) {
    const FileManager manager(false);
    installOpener("exit 4");
    std::vector<std::string> items;
    workspace.setFailureHandler([&](const FileURL& url) { items.push_back(url.item()); });
    workspace.openURL(file.deletingLastPathComponent());
    EXPECT_TRUE(test::turnUntil([&] { return !items.empty(); }));
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(items, (Lines{"/home/ada/talk.mp4"}));
}

}  // namespace

#include "QtWorkspaceTest.moc"
