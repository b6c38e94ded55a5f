#include "recordmeeting/KTRMeetingRecordNotifications.h"

const char kMeetingRecordNotificationName_RecordingStarted[] = "kMeetingRecordNotificationName_RecordingStarted";
const char kMeetingRecordNotificationName_RecordingStopped[] = "kMeetingRecordNotificationName_RecordingStopped";
const char kMeetingRecordNotificationName_MeetingAppQuit[] = "kMeetingRecordNotificationName_MeetingAppQuit";
const char kMeetingRecordNotificationName_AppSpawnConfirm[] = "kMeetingRecordNotificationName_AppSpawnConfirm";
const char kMeetingRecordNotificationName_AckNotification[] = "kMeetingRecordNotificationName_AckNotification";

const char kMeetingRecordNotificationKey_MeetingProcessId[] = "kMeetingRecordNotificationKey_MeetingProcessId";
const char kMeetingRecordNotificationKey_RecordIntermediatePath[] =
    "kMeetingRecordNotificationKey_RecordIntermediatePath";
const char kMeetingRecordNotificationKey_AckNotificationName[] = "kMeetingRecordNotificationKey_AckNotificationName";
const char kMeetingRecordNotificationKey_AckFromProcessId[] = "kMeetingRecordNotificationKey_AckFromProcessId";
const char kMeetingRecordNotificationKey_AckToProcessId[] = "kMeetingRecordNotificationKey_AckToProcessId";

const char kMeetingRecordConverterBundleIdentifier[] = "org.recordconverter.RecordConverter";

const char kMeetingRecordLaunchParamKey_ProcessId[] = "-pid";
const char kMeetingRecordLaunchParamKey_ProcessName[] = "-pname";
const char kMeetingRecordLaunchParamKey_Locale[] = "-locale";
const char kMeetingRecordLaunchParamKey_Path[] = "-path";
const char kMeetingRecordLaunchParamKey_KeepsIntermediateFile[] = "-keepsIntermediateFile";
