#include "framework_art/commonmgr/LanguageManager.h"

#include "support/FakeUserDefaults.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using Languages = std::vector<std::string>;

// Read before any test has set a language.
const std::optional<std::string> languageAtTheStart = LanguageManager::getActiveLanguage();

class LanguageManagerTest : public testing::Test {
protected:
    ~LanguageManagerTest() override { LanguageManager::setActiveLanguage(1); }

    test::FakeUserDefaults userDefaults;
};

TEST_F(LanguageManagerTest, TheFirstLanguageIsEnglish) {
    EXPECT_EQ(languageAtTheStart, "English");
}

TEST_F(LanguageManagerTest, EachNumberHasItsPreferredLanguages) {
    const std::vector<Languages> expected = {
        {"en"},       {"en", "en"}, {"zh-Hans", "en"}, {"zh-Hant", "en"}, {"ja", "en"},     {"ko", "en"}, {"fr", "en"},
        {"fr", "en"}, {"de", "en"}, {"it", "en"},      {"es", "en"},      {"es_419", "en"}, {"sv", "en"}, {"nl", "en"},
        {"pt", "en"}, {"ru", "en"}, {"tr", "en"},      {"da", "en"},      {"fi", "en"},     {"pl", "en"},
    };
    ASSERT_EQ(expected.size(), 20U);
    for (std::int32_t number = 1; number <= 20; ++number) {
        EXPECT_TRUE(LanguageManager::setActiveLanguage(number)) << number;
        EXPECT_EQ(userDefaults.stringList("AppleLanguages"), expected[static_cast<std::size_t>(number) - 1]) << number;
        EXPECT_EQ(userDefaults.flushed().at("AppleLanguages"), expected[static_cast<std::size_t>(number) - 1])
            << number << " is not on the disk";
    }
}

TEST_F(LanguageManagerTest, EachNumberHasItsActiveLanguage) {
    const std::vector<std::string> expected = {"English", "English", "zh_CN",   "zh_TW",   "Japanese", "ko", "French",
                                               "French",  "German",  "Italian", "Spanish", "es_419",   "sv", "Dutch",
                                               "pt",      "ru",      "tr",      "da",      "fi",       "pl"};
    ASSERT_EQ(expected.size(), 20U);
    for (std::int32_t number = 1; number <= 20; ++number) {
        LanguageManager::setActiveLanguage(number);
        EXPECT_EQ(LanguageManager::getActiveLanguage(), expected[static_cast<std::size_t>(number) - 1]) << number;
    }
}

TEST_F(LanguageManagerTest, EachNumberHasItsLiveStreamKey) {
    const std::vector<std::string> expected = {"en_US", "en_US", "zh_CN", "zh_TW", "ja_JP", "ko_KR", "fr_FR",
                                               "fr_FR", "de_DE", "it_IT", "es_SP", "es_ES", "sv_SE", "en_US",
                                               "pt_BR", "ru_RU", "tr_TR", "da_DK", "en_US", "en_US"};
    ASSERT_EQ(expected.size(), 20U);
    for (std::int32_t number = 1; number <= 20; ++number) {
        LanguageManager::setActiveLanguage(number);
        EXPECT_EQ(LanguageManager::getActiveLanguageKeyForLiveStreamInfo(),
                  expected[static_cast<std::size_t>(number) - 1])
            << number;
    }
}

TEST_F(LanguageManagerTest, ANumberOutOfRangeIsRememberedAndChangesNothingElse) {
    ASSERT_TRUE(LanguageManager::setActiveLanguage(9));
    for (const std::int32_t number :
         {0, -1, 21, 256 + 9, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_FALSE(LanguageManager::setActiveLanguage(number)) << number;
        EXPECT_EQ(LanguageManager::getActiveLanguage(), std::nullopt) << number;
        EXPECT_EQ(LanguageManager::getActiveLanguageKeyForLiveStreamInfo(), std::nullopt) << number;
        EXPECT_EQ(userDefaults.stringList("AppleLanguages"), (Languages{"de", "en"})) << number;
    }
}

TEST_F(LanguageManagerTest, AnOutOfRangeNumberLeavesThePreviousRunsSettingInForce) {
    userDefaults.setStringList("AppleLanguages", {"fr", "en"});
    EXPECT_FALSE(LanguageManager::setActiveLanguage(21));
    EXPECT_EQ(userDefaults.stringList("AppleLanguages"), (Languages{"fr", "en"}));
}

}  // namespace
