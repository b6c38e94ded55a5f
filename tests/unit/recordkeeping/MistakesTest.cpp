#include "recordkeeping/Mistakes.h"

#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using platform::UserInfo;
using recordkeeping::mistakesIn;
using recordkeeping::mistakesInLaunch;
using Sentences = std::vector<std::string>;

const std::string process = kMeetingRecordNotificationKey_MeetingProcessId;
const std::string path = kMeetingRecordNotificationKey_RecordIntermediatePath;

Sentences inStart(const UserInfo& userInfo) {
    return mistakesIn({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, userInfo});
}

Sentences inStop(const UserInfo& userInfo) {
    return mistakesIn({kMeetingRecordNotificationName_RecordingStopped, std::nullopt, userInfo});
}

TEST(MistakesTest, ACorrectNotificationHasNone) {
    EXPECT_EQ(inStart({{process, std::int32_t{7}}, {path, "/talk.mkv"}}), Sentences{});
    EXPECT_EQ(inStart({{process, std::uint64_t{7}}, {path, platform::Bytes{'/', 0xff}}}), Sentences{});
    EXPECT_EQ(inStop({{process, "7"}}), Sentences{});
    EXPECT_EQ(mistakesIn({kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt, UserInfo{{process, 7}}}),
              Sentences{});
}

TEST(MistakesTest, WhatConvertersPostIsNotJudged) {
    for (const auto* name :
         {kMeetingRecordNotificationName_AppSpawnConfirm, kMeetingRecordNotificationName_AckNotification}) {
        EXPECT_EQ(mistakesIn({name, std::nullopt, std::nullopt}), Sentences{}) << name;
    }
}

TEST(MistakesTest, EachWrongProcessIsNamedWithWhatItMustBe) {
    EXPECT_EQ(inStop({}), (Sentences{process + " is missing: add the id of the process that records, as an integer"}));
    for (const auto& [value, reading] : {std::pair<platform::UserInfoValue, std::string>{"recorder", "0"},
                                         {std::int32_t{0}, "0"},
                                         {std::int32_t{-7}, "-7"},
                                         {false, "0"}}) {
        EXPECT_EQ(inStop({{process, value}}),
                  (Sentences{process + " reads as " + reading +
                             ": it must be the id of the process that records, as an integer"}));
    }
}

TEST(MistakesTest, EachWrongPathIsNamedWithWhatItMustBe) {
    const auto with = [](const platform::UserInfoValue& value) { return inStart({{process, 7}, {path, value}}); };
    EXPECT_EQ(inStart({{process, 7}}),
              (Sentences{path + " is missing: add the full path of the recording, as a string"}));
    EXPECT_EQ(with(""), (Sentences{path + " is empty: it must be the full path of the recording"}));
    EXPECT_EQ(with(std::int32_t{5}),
              (Sentences{path + " is not a text: it must be a string, or bytes if it is not UTF-8"}));
    EXPECT_EQ(with("talk.mkv"), (Sentences{path + " is the relative path \"talk.mkv\": send the full path"}));
    EXPECT_EQ(with("file:///talk.mkv"),
              (Sentences{path + " is the relative path \"file:///talk.mkv\": send the full path"}));
}

TEST(MistakesTest, AnUnknownKeyIsNamed) {
    EXPECT_EQ(inStop({{process, 7}, {"pid", 7}}), (Sentences{"the key \"pid\" means nothing here and is ignored"}));
    EXPECT_EQ(inStop({{process, 7}, {path, "/talk.mkv"}}).size(), 1U) << "a stop carries no path";
}

TEST(MistakesTest, AnUnknownNameGetsTheThreeThatExist) {
    const auto mistakes = mistakesIn({"RecordingStarted", std::nullopt, UserInfo{{process, 7}}});
    ASSERT_EQ(mistakes.size(), 1U);
    for (const auto* name :
         {kMeetingRecordNotificationName_RecordingStarted, kMeetingRecordNotificationName_RecordingStopped,
          kMeetingRecordNotificationName_MeetingAppQuit}) {
        EXPECT_NE(mistakes.front().find(name), std::string::npos) << name;
    }
}

TEST(MistakesTest, SeveralAreNamedAtOnce) {
    EXPECT_EQ(inStart({{"pid", 7}}).size(), 3U);
}

TEST(MistakesTest, ACorrectLaunchHasNone) {
    EXPECT_EQ(mistakesInLaunch({"record-converter"}), Sentences{});
    EXPECT_EQ(mistakesInLaunch({"record-converter", "-pid", "7", "-pname", "-x", "-locale", "20", "-path", "a.mkv",
                                "-keepsIntermediateFile", "1"}),
              Sentences{});
}

TEST(MistakesTest, AnUnknownOptionIsNamed) {
    const auto mistakes = mistakesInLaunch({"record-converter", "--pid", "-pid", "7"});
    ASSERT_EQ(mistakes.size(), 1U);
    EXPECT_EQ(mistakes.front().substr(0, 7), "\"--pid\"");
}

TEST(MistakesTest, AnOptionWithoutAValueIsNamed) {
    EXPECT_EQ(mistakesInLaunch({"record-converter", "-path"}), (Sentences{"-path has no value"}));
    EXPECT_EQ(mistakesInLaunch({"record-converter", "-pid", "-path", "a.mkv"}), (Sentences{"-pid has no value"}));
}

TEST(MistakesTest, AValueThatCannotBeIsNamed) {
    EXPECT_EQ(mistakesInLaunch({"record-converter", "-pid", "me"}),
              (Sentences{"-pid \"me\" is no process: give the id of the process that records"}));
    for (const auto* language : {"0", "21", "de"}) {
        EXPECT_EQ(mistakesInLaunch({"record-converter", "-locale", language}),
                  (Sentences{"-locale \"" + std::string(language) + "\" is no language: give a number from 1 to 20"}));
    }
    EXPECT_EQ(mistakesInLaunch({"record-converter", "-path", ""}),
              (Sentences{"-path is empty: give the path of the recording"}));
}

}  // namespace
