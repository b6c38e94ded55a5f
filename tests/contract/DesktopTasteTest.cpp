#include "uilib/qt/DesktopTaste.h"

#include "contract/EventLoop.h"
#include "contract/SettingsPortal.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

const auto appearanceGroup = QStringLiteral("org.freedesktop.appearance");

TEST(DesktopTaste, WithoutAPortalAsksForNothing) {
    const uilib::qt::DesktopTaste taste;
    test::turnFor(100ms);
    EXPECT_FALSE(taste.wantsLessMotion());
    EXPECT_FALSE(taste.wantsMoreContrast());
}

TEST(DesktopTaste, TakesWhatThePortalTells) {
    test::SettingsPortal portal;
    portal.settings[QStringLiteral("org.freedesktop.appearance contrast")] = 1U;
    portal.settings[QStringLiteral("org.gnome.desktop.interface enable-animations")] = false;
    const uilib::qt::DesktopTaste taste;
    EXPECT_TRUE(test::turnUntil([&] { return taste.wantsMoreContrast() && taste.wantsLessMotion(); }));
}

TEST(DesktopTaste, FollowsItsChanges) {
    test::SettingsPortal portal;
    portal.settings[QStringLiteral("org.gnome.desktop.interface enable-animations")] = true;
    const uilib::qt::DesktopTaste taste;
    test::turnFor(200ms);
    EXPECT_FALSE(taste.wantsMoreContrast());
    EXPECT_FALSE(taste.wantsLessMotion());
    portal.change(appearanceGroup, QStringLiteral("reduced-motion"), 1U);
    portal.change(QStringLiteral("org.gnome.desktop.a11y.interface"), QStringLiteral("high-contrast"), true);
    EXPECT_TRUE(test::turnUntil([&] { return taste.wantsMoreContrast() && taste.wantsLessMotion(); }));
}

TEST(DesktopTaste, AsksAPortalThatComesLate) {
    const uilib::qt::DesktopTaste taste;
    test::turnFor(200ms);
    test::SettingsPortal portal;
    portal.settings[appearanceGroup + QStringLiteral(" contrast")] = 1U;
    EXPECT_TRUE(test::turnUntil([&] { return taste.wantsMoreContrast(); }));
    portal.change(appearanceGroup, QStringLiteral("contrast"), 0U);
    EXPECT_TRUE(test::turnUntil([&] { return !taste.wantsMoreContrast(); }));
}

}  // namespace
