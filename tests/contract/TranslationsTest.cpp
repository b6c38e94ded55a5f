#include "KTRMeetingRecordConverterLocalizableStrings.h"
#include "OpeningFailureBubbles.h"
#include "framework_art/commonmgr/LanguageManager.h"
#include "platform/qt/QtStringTables.h"
#include "support/FakeUserDefaults.h"

#include <gtest/gtest.h>
#include <string>

namespace {

const std::string keys[] = {kRecordingFilesPreparedWaitConvert,
                            kRecordingFileSavedSuccess,
                            kRecordingFileConvertFailed,
                            kViewInFolder,
                            kOpen,
                            OpeningFailureBubbles::recordingFailed,
                            OpeningFailureBubbles::folderFailed,
                            "Close"};

class Translations : public ::testing::TestWithParam<int> {
protected:
    test::FakeUserDefaults defaults;
    platform::qt::QtStringTables tables{defaults, RESOURCES "/translations"};
};

TEST_P(Translations, EveryTextIsThereInTheClientsLanguage) {
    ASSERT_TRUE(LanguageManager::setActiveLanguage(GetParam()));
    const auto language = defaults.stringList("AppleLanguages").front();
    for (const auto& key : keys) {
        const auto text = tables.localizedString(key, "Localizable");
        if (language == "en") {
            EXPECT_EQ(text, key);
        } else {
            EXPECT_NE(text, key) << language;
            EXPECT_FALSE(text.empty()) << language;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfTheClient, Translations, ::testing::Range(1, 21));

}  // namespace
