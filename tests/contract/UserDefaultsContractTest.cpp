#include "platform/qt/QtUserDefaults.h"
#include "support/FakeUserDefaults.h"
#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using List = std::vector<std::string>;

const std::string settingsFile = "deep/record-converter.conf";

struct FakeHost {
    test::FakeUserDefaults defaults;
};

struct QtHost {
    test::TemporaryFolder folder;
    platform::qt::QtUserDefaults defaults{folder.file(settingsFile)};
};

template<typename Host>
class UserDefaultsContract : public ::testing::Test {
protected:
    Host host;
};

using Hosts = ::testing::Types<FakeHost, QtHost>;
TYPED_TEST_SUITE(UserDefaultsContract, Hosts);

TYPED_TEST(UserDefaultsContract, AnAbsentKeyHoldsNoTexts) {
    EXPECT_TRUE(this->host.defaults.stringList("AppleLanguages").empty());
}

TYPED_TEST(UserDefaultsContract, GivesBackTheListThatWasSet) {
    this->host.defaults.setStringList("AppleLanguages", {"zh-Hans", "en"});
    EXPECT_TRUE(this->host.defaults.synchronize());
    EXPECT_EQ(this->host.defaults.stringList("AppleLanguages"), (List{"zh-Hans", "en"}));
}

TYPED_TEST(UserDefaultsContract, KeepsListsOfOneAndOfNoneApart) {
    this->host.defaults.setStringList("one", {"en"});
    this->host.defaults.setStringList("none", {});
    EXPECT_TRUE(this->host.defaults.synchronize());
    EXPECT_EQ(this->host.defaults.stringList("one"), List{"en"});
    EXPECT_TRUE(this->host.defaults.stringList("none").empty());
}

TYPED_TEST(UserDefaultsContract, KeepsTextsWithCommasQuotesAndUmlautsWhole) {
    const List odd{"a,b", "\"quoted\"", "Grüße", " blanks "};
    this->host.defaults.setStringList("odd", odd);
    EXPECT_TRUE(this->host.defaults.synchronize());
    EXPECT_EQ(this->host.defaults.stringList("odd"), odd);
}

TEST(QtUserDefaults, IsOnTheDiskOnceSynchronizeReturns) {
    const test::TemporaryFolder folder;
    platform::qt::QtUserDefaults defaults(folder.file(settingsFile));
    defaults.setStringList("AppleLanguages", {"de", "en"});
    ASSERT_TRUE(defaults.synchronize());
    std::stringstream text;
    text << std::ifstream(folder.file(settingsFile)).rdbuf();
    EXPECT_NE(text.str().find("AppleLanguages=de, en"), std::string::npos) << text.str();

    const platform::qt::QtUserDefaults later(folder.file(settingsFile));
    EXPECT_EQ(later.stringList("AppleLanguages"), (List{"de", "en"}));
}

TEST(QtUserDefaults, KeepsOtherSettingsOfTheFile) {
    const test::TemporaryFolder folder;
    fs::create_directories(fs::path(folder.file(settingsFile)).parent_path());
    std::ofstream(folder.file(settingsFile)) << "[Window]\nplace=left\n";
    platform::qt::QtUserDefaults defaults(folder.file(settingsFile));
    defaults.setStringList("AppleLanguages", {"en"});
    ASSERT_TRUE(defaults.synchronize());
    std::stringstream text;
    text << std::ifstream(folder.file(settingsFile)).rdbuf();
    EXPECT_NE(text.str().find("place=left"), std::string::npos) << text.str();
}

TEST(QtUserDefaults, KeepsTheSettingForThisRunWhereItCannotBeWritten) {
    // A folder in place of the file prevents everyone from writing, including root.
    const test::TemporaryFolder folder;
    fs::create_directories(folder.file(settingsFile));
    platform::qt::QtUserDefaults defaults(folder.file(settingsFile));
    defaults.setStringList("AppleLanguages", {"fr", "en"});
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(defaults.stringList("AppleLanguages"), (List{"fr", "en"}));
}

TEST(QtUserDefaults, StandsInTheUsersConfigurationFolder) {
    setenv("XDG_CONFIG_HOME", "/somewhere/config", 1);
    EXPECT_EQ(platform::qt::QtUserDefaults::standardFile(), "/somewhere/config/record-converter/record-converter.conf");
    setenv("XDG_CONFIG_HOME", "not/absolute", 1);
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(platform::qt::QtUserDefaults::standardFile(),
              "/home/someone/.config/record-converter/record-converter.conf");
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(platform::qt::QtUserDefaults::standardFile(),
              "/home/someone/.config/record-converter/record-converter.conf");
}

}  // namespace
