#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include "platform/ProgramIdentity.h"

#include <gtest/gtest.h>

namespace {

#define EXPECT_IS_ITS_OWN_NAME(constant) EXPECT_STREQ(constant, #constant)

TEST(KTRMeetingRecordNotificationsTest, EveryNotificationNameIsItsOwnName) {
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationName_RecordingStarted);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationName_RecordingStopped);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationName_MeetingAppQuit);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationName_AppSpawnConfirm);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationName_AckNotification);
}

TEST(KTRMeetingRecordNotificationsTest, EveryKeyIsItsOwnName) {
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationKey_MeetingProcessId);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationKey_RecordIntermediatePath);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationKey_AckNotificationName);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationKey_AckFromProcessId);
    EXPECT_IS_ITS_OWN_NAME(kMeetingRecordNotificationKey_AckToProcessId);
}

TEST(KTRMeetingRecordNotificationsTest, LaunchParameterKeysAreTheOptions) {
    EXPECT_STREQ(kMeetingRecordLaunchParamKey_ProcessId, "-pid");
    EXPECT_STREQ(kMeetingRecordLaunchParamKey_ProcessName, "-pname");
    EXPECT_STREQ(kMeetingRecordLaunchParamKey_Locale, "-locale");
    EXPECT_STREQ(kMeetingRecordLaunchParamKey_Path, "-path");
    EXPECT_STREQ(kMeetingRecordLaunchParamKey_KeepsIntermediateFile, "-keepsIntermediateFile");
}

TEST(KTRMeetingRecordNotificationsTest, TheBundleIdentifierIsTheNameOnTheBus) {
    EXPECT_STREQ(kMeetingRecordConverterBundleIdentifier, "org.recordconverter.RecordConverter");
}

TEST(KTRMeetingRecordNotificationsTest, TheConverterHasOneIdOnTheBusAndOnTheDesktop) {
    EXPECT_STREQ(kMeetingRecordConverterBundleIdentifier, platform::programId);
}

}  // namespace
