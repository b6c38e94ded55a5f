#include "platform/qt/QtStringTables.h"
#include "support/FakeStringTables.h"
#include "support/FakeUserDefaults.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const std::string kOpen = "Open";
const std::string openInGerman = "Öffnen";
const std::string table = "Localizable";

struct FakeHost {
    test::FakeStringTables tables;

    void useGerman() { tables.setText(kOpen, table, openInGerman); }
};

struct QtHost {
    test::FakeUserDefaults defaults;
    platform::qt::QtStringTables tables{defaults, RESOURCES "/translations"};

    void useGerman() { defaults.setStringList("AppleLanguages", {"de", "en"}); }
};

template<typename Host>
class StringTablesContract : public ::testing::Test {
protected:
    Host host;
};

using Hosts = ::testing::Types<FakeHost, QtHost>;
TYPED_TEST_SUITE(StringTablesContract, Hosts);

TYPED_TEST(StringTablesContract, GivesTheTextOfTheTable) {
    this->host.useGerman();
    EXPECT_EQ(this->host.tables.localizedString(kOpen, table), openInGerman);
}

TYPED_TEST(StringTablesContract, GivesTheKeyThatTheTableLacks) {
    this->host.useGerman();
    EXPECT_EQ(this->host.tables.localizedString("No such text", table), "No such text");
}

TYPED_TEST(StringTablesContract, GivesTheKeyWhereThereIsNoSuchTable) {
    this->host.useGerman();
    EXPECT_EQ(this->host.tables.localizedString(kOpen, "Elsewhere"), kOpen);
}

TYPED_TEST(StringTablesContract, GivesTheKeyWithoutAnyLanguage) {
    EXPECT_EQ(this->host.tables.localizedString(kOpen, table), kOpen);
}

class QtStringTables : public ::testing::Test {
protected:
    std::string openIn(const std::vector<std::string>& languages) {
        defaults.setStringList("AppleLanguages", languages);
        return tables.localizedString(kOpen, table);
    }

    test::FakeUserDefaults defaults;
    platform::qt::QtStringTables tables{defaults, RESOURCES "/translations"};
};

TEST_F(QtStringTables, TakesTheFirstLanguageOfTheListThatHasATable) {
    EXPECT_EQ(openIn({"xx", "de", "en"}), openInGerman);
}

TEST_F(QtStringTables, EndsAtEnglishWhoseTextsAreTheKeys) {
    EXPECT_EQ(openIn({"en", "de"}), kOpen);
    EXPECT_EQ(openIn({"xx", "en", "de"}), kOpen);
}

TEST_F(QtStringTables, GivesTheKeyWhenNoLanguageHasATable) {
    EXPECT_EQ(openIn({"xx", "yy_419"}), kOpen);
}

TEST_F(QtStringTables, TakesNoOtherRegionsTableForAMissingOne) {
    EXPECT_EQ(openIn({"de_XX", "en"}), kOpen);
}

TEST_F(QtStringTables, NeverLeavesItsFolderForALanguage) {
    EXPECT_EQ(openIn({"x/../../translations/Localizable_de", "en"}), kOpen);
    EXPECT_EQ(openIn({"/../Localizable_de", "en"}), kOpen);
}

TEST_F(QtStringTables, FollowsALanguageThatChangesWhileItRuns) {
    EXPECT_EQ(openIn({"de", "en"}), openInGerman);
    EXPECT_EQ(openIn({"en"}), kOpen);
    EXPECT_EQ(openIn({"de", "en"}), openInGerman);
}

}  // namespace
