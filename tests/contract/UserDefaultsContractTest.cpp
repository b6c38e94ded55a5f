#include "platform/qt/QtUserDefaults.h"
#include "support/FakeUserDefaults.h"

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

class Folder {
public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "defaults-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~Folder() {
        fs::permissions(path_, fs::perms::owner_all);
        fs::remove_all(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file() const { return (path_ / "deep" / "record-converter.conf").string(); }

private:
    fs::path path_;
};

struct FakeHost {
    test::FakeUserDefaults defaults;
};

struct QtHost {
    Folder folder;
    platform::qt::QtUserDefaults defaults{folder.file()};
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
    const Folder folder;
    platform::qt::QtUserDefaults defaults(folder.file());
    defaults.setStringList("AppleLanguages", {"de", "en"});
    ASSERT_TRUE(defaults.synchronize());
    std::stringstream text;
    text << std::ifstream(folder.file()).rdbuf();
    EXPECT_NE(text.str().find("AppleLanguages=de, en"), std::string::npos) << text.str();

    const platform::qt::QtUserDefaults later(folder.file());
    EXPECT_EQ(later.stringList("AppleLanguages"), (List{"de", "en"}));
}

TEST(QtUserDefaults, KeepsOtherSettingsOfTheFile) {
    const Folder folder;
    fs::create_directories(fs::path(folder.file()).parent_path());
    std::ofstream(folder.file()) << "[Window]\nplace=left\n";
    platform::qt::QtUserDefaults defaults(folder.file());
    defaults.setStringList("AppleLanguages", {"en"});
    ASSERT_TRUE(defaults.synchronize());
    std::stringstream text;
    text << std::ifstream(folder.file()).rdbuf();
    EXPECT_NE(text.str().find("place=left"), std::string::npos) << text.str();
}

TEST(QtUserDefaults, KeepsTheSettingForThisRunWhereItCannotBeWritten) {
    // A folder in place of the file prevents everyone from writing, including root.
    const Folder folder;
    fs::create_directories(folder.file());
    platform::qt::QtUserDefaults defaults(folder.file());
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
