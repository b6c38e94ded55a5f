#include "uilib/qt/DesktopTaste.h"
#include "contract/EventLoop.h"
#include "contract/SettingsPortal.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

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

}  // namespace
