/// Runs contract suites on the real toolkit, off-screen, on a private session bus.

#include "contract/PrivateBus.h"
#include "platform/qt/QtApplication.h"

#include <cstdlib>
#include <gtest/gtest.h>

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
#ifdef FONTS
    setenv("FONTCONFIG_FILE", FONTS, 1);
#endif
    // Before any part of this process has looked for a bus.
    const test::PrivateBus bus;
    platform::qt::QtApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
