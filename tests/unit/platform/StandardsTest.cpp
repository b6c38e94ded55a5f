#include "platform/ProcessInformation.h"
#include "platform/StringTables.h"
#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"
#include "platform/ui/TextMeasure.h"
#include "support/FakeStringTables.h"
#include "support/FakeSystemLog.h"
#include "support/FakeTextMeasure.h"
#include "support/FakeUserDefaults.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

// The services that class-level functions reach through `standard()`, before and after a provider installs its own.

namespace {

TEST(StringTablesTest, UntilATableIsInstalledEveryTextIsItsKey) {
    EXPECT_EQ(platform::StringTables::standard().localizedString("Open", "Localizable"), "Open");
    {
        test::FakeStringTables tables;
        tables.setText("Open", "Localizable", "Ouvrir");
        EXPECT_EQ(platform::StringTables::standard().localizedString("Open", "Localizable"), "Ouvrir");
    }
    EXPECT_EQ(platform::StringTables::standard().localizedString("Open", "Localizable"), "Open");
}

TEST(UserDefaultsTest, UntilSettingsAreInstalledTheyLastAsLongAsTheProcess) {
    auto& defaults = platform::UserDefaults::standard();
    EXPECT_TRUE(defaults.stringList("UserDefaultsTest").empty());
    defaults.setStringList("UserDefaultsTest", {"a", "b"});
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(platform::UserDefaults::standard().stringList("UserDefaultsTest"), (std::vector<std::string>{"a", "b"}));
    {
        const test::FakeUserDefaults installed;
        EXPECT_TRUE(platform::UserDefaults::standard().stringList("UserDefaultsTest").empty());
    }
    defaults.setStringList("UserDefaultsTest", {});
}

TEST(SystemLogTest, UntilALogIsInstalledLinesGoToStandardError) {
    testing::internal::CaptureStderr();
    platform::SystemLog::standard().write("Meeting App Quit 100%s");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "record-converter: Meeting App Quit 100%s\n");
    test::FakeSystemLog log;
    platform::SystemLog::standard().write("kept");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"kept"});
}

TEST(TextMeasureTest, UntilAMeasureIsInstalledEveryTextHasSizeZero) {
    EXPECT_EQ(platform::ui::TextMeasure::standard().sizeOfText("text", {}, 100), platform::ui::Size{});
    test::FakeTextMeasure measure;
    measure.setSize("text", {1, 2});
    EXPECT_EQ(platform::ui::TextMeasure::standard().sizeOfText("text", {}, 100), (platform::ui::Size{1, 2}));
}

TEST(MainProcessInformationTest, KnowsTheProcessIdAndTheWholeArgumentList) {
    std::string program = "/opt/bin/prog";
    std::string option = "-pid";
    std::string empty;
    char* vector[] = {program.data(), option.data(), empty.data(), nullptr};
    const platform::MainProcessInformation information(3, vector);
    EXPECT_EQ(information.processIdentifier(), ::getpid());
    EXPECT_EQ(information.arguments(), (std::vector<std::string>{"/opt/bin/prog", "-pid", ""}));
}

}  // namespace
