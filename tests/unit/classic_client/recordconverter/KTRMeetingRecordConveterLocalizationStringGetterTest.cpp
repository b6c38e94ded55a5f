#include "KTRMeetingRecordConveterLocalizationStringGetter.h"

#include "KTRMeetingRecordConverterLocalizableStrings.h"
#include "support/FakeStringTables.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Getter = KTRMeetingRecordConveterLocalizationStringGetter;

TEST(KTRMeetingRecordConveterLocalizationStringGetterTest, OpenWithoutATableIsOpen) {
    EXPECT_EQ(Getter::getLocalizationString("Open"), "Open");
}

TEST(KTRMeetingRecordConveterLocalizationStringGetterTest, LooksTheKeyUpInTheTableLocalizable) {
    test::FakeStringTables tables;
    tables.setText("Open", "Localizable", "Öffnen");
    EXPECT_EQ(Getter::getLocalizationString("Open"), "Öffnen");
    EXPECT_EQ(tables.lookups(), (std::vector<test::FakeStringTables::Lookup>{{"Open", "Localizable"}}));
}

TEST(KTRMeetingRecordConveterLocalizationStringGetterTest, AKeyThatTheTableLacksComesBackUnchanged) {
    test::FakeStringTables tables;
    tables.setText("Open", "Localizable", "Öffnen");
    tables.setText("View in Folder", "Other", "Im Ordner anzeigen");
    EXPECT_EQ(Getter::getLocalizationString("View in Folder"), "View in Folder");
}

TEST(KTRMeetingRecordConverterLocalizableStringsTest, EveryTextIsItsEnglishText) {
    EXPECT_STREQ(kRecordingFilesPreparedWaitConvert, "Your recording is being prepared. This may take a while.");
    EXPECT_STREQ(kRecordingFileSavedSuccess, "Your recording has been saved to your computer.");
    EXPECT_STREQ(kRecordingFileConvertFailed, "We had a problem converting the recording to MP4 format.");
    EXPECT_STREQ(kViewInFolder, "View in Folder");
    EXPECT_STREQ(kOpen, "Open");
}

}  // namespace
