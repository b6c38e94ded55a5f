#include "setAppLocale.h"

#include "framework_art/commonmgr/LanguageManager.h"
#include "support/FakeUserDefaults.h"
#include "support/RecordingTrace.h"
#include "support/Sequence.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::Log;
using Languages = std::vector<std::string>;

class setAppLocaleTest : public testing::Test {
protected:
    ~setAppLocaleTest() override { LanguageManager::setActiveLanguage(1); }

    void setAppLocaleFrom(const std::vector<const char*>& arguments) {
        std::vector<const char*> vector = arguments;
        vector.push_back(nullptr);
        setAppLocale(static_cast<int>(arguments.size()), vector.data());
    }

    Languages written() const { return userDefaults.stringList("AppleLanguages"); }

    test::RecordingTrace trace;
    test::FakeUserDefaults userDefaults;
};

TEST_F(setAppLocaleTest, Locale3GivesLanguage3AndTheListOfItsCodeAndEnglish) {
    setAppLocaleFrom({"prog", "-locale", "3"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (3)")});
    EXPECT_EQ(written(), (Languages{"zh-Hans", "en"}));
    EXPECT_EQ(userDefaults.flushed().at("AppleLanguages"), (Languages{"zh-Hans", "en"}));
    EXPECT_EQ(LanguageManager::getActiveLanguage(), "zh_CN");
}

TEST_F(setAppLocaleTest, FewerThanThreeArgumentsGiveLanguage1WithoutALook) {
    setAppLocaleFrom({"prog", "-locale"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (1)")});
    EXPECT_EQ(written(), Languages{"en"});
}

TEST_F(setAppLocaleTest, NoArgumentsAtAllGiveLanguage1) {
    setAppLocaleFrom({});
    setAppLocaleFrom({"prog"});
    EXPECT_EQ(trace.log(), (Log{test::info("[App setAppLocale:]: (1)"), test::info("[App setAppLocale:]: (1)")}));
}

TEST_F(setAppLocaleTest, LocaleAsTheLastArgumentIsNeverLookedAt) {
    setAppLocaleFrom({"prog", "-path", "x", "-locale"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (1)")});
    EXPECT_EQ(written(), Languages{"en"});
}

TEST_F(setAppLocaleTest, TheProgramPathIsNeverTheOption) {
    setAppLocaleFrom({"-locale", "9", "x"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (1)")});
}

TEST_F(setAppLocaleTest, ZeroNegativeAndNonNumericValuesGiveLanguage1) {
    for (const char* const value : {"0", "-4", "de", ""}) {
        trace.clear();
        setAppLocaleFrom({"prog", "-locale", value});
        EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (1)")}) << '"' << value << '"';
        EXPECT_EQ(written(), Languages{"en"});
    }
}

TEST_F(setAppLocaleTest, Locale21IsTracedAndRememberedButWritesNothing) {
    setAppLocaleFrom({"prog", "-locale", "21"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (21)")});
    EXPECT_EQ(written(), Languages{});
    EXPECT_TRUE(userDefaults.flushed().empty());
    EXPECT_EQ(LanguageManager::getActiveLanguage(), std::nullopt);
}

TEST_F(setAppLocaleTest, Locale1WritesEnglishAlone) {
    setAppLocaleFrom({"prog", "-locale", "1"});
    EXPECT_EQ(written(), Languages{"en"});
}

TEST_F(setAppLocaleTest, TheFirstLocaleOptionCounts) {
    setAppLocaleFrom({"prog", "-locale", "5", "-locale", "6"});
    EXPECT_EQ(written(), (Languages{"ja", "en"}));
}

TEST_F(setAppLocaleTest, TheOptionIsFoundBehindOthers) {
    setAppLocaleFrom({"prog", "-pid", "4711", "-locale", "9", "-path", "/x"});
    EXPECT_EQ(written(), (Languages{"de", "en"}));
}

TEST_F(setAppLocaleTest, TheValueIsReadByTheIntegerReading) {
    setAppLocaleFrom({"prog", "-locale", " 12ab"});
    EXPECT_EQ(written(), (Languages{"es_419", "en"}));
}

TEST_F(setAppLocaleTest, ALocaleThatIsAnotherOptionsValueIsFoundAllTheSame) {
    setAppLocaleFrom({"prog", "-path", "-locale", "9"});
    EXPECT_EQ(written(), (Languages{"de", "en"}));
}

TEST_F(setAppLocaleTest, TheLineIsTracedBeforeTheSettingIsWritten) {
    // The language manager writes the setting and traces nothing: there is one line, whatever the language.
    for (const char* const value : {"1", "2", "20", "21"}) {
        trace.clear();
        setAppLocaleFrom({"prog", "-locale", value});
        EXPECT_EQ(trace.log(), Log{test::info(std::string("[App setAppLocale:]: (") + value + ')')});
    }
}

TEST_F(setAppLocaleTest, TheLanguageIsTracedBeforeItIsWritten) {
    const test::Sequence sequence;
    setAppLocaleFrom({"prog", "-locale", "3"});
    EXPECT_TRUE(sequence.isBefore("trace: [App setAppLocale:]: (3)", "user defaults: AppleLanguages"));
}

TEST_F(setAppLocaleTest, ALongerWordIsNotTheOption) {
    setAppLocaleFrom({"prog", "-localeX", "3", "x"});
    EXPECT_EQ(trace.log(), Log{test::info("[App setAppLocale:]: (1)")});
}

}  // namespace
