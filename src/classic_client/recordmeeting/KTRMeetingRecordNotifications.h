#pragma once

/// The names and keys that meeting clients and the record converter share. The value of every notification name and key
/// equals its own constant's name; compare them exactly. Ids are signed 32-bit process ids.

/// Client to converter: a process has started to write a recording. Carries MeetingProcessId, RecordIntermediatePath.
extern const char kMeetingRecordNotificationName_RecordingStarted[];
/// Client to converter: the file that the process was writing is complete. Carries MeetingProcessId.
extern const char kMeetingRecordNotificationName_RecordingStopped[];
/// Client to converter: the process quits, and all its files may be converted. Carries MeetingProcessId.
extern const char kMeetingRecordNotificationName_MeetingAppQuit[];
/// Converter to client: posted once at start-up. Carries AckFromProcessId, AckToProcessId (0 without "-pid").
extern const char kMeetingRecordNotificationName_AppSpawnConfirm[];
/// Converter to client: acknowledges each of the first three that names a process, before acting on it. Carries
/// AckNotificationName, AckFromProcessId, AckToProcessId.
extern const char kMeetingRecordNotificationName_AckNotification[];

/// Number: the meeting process that posts.
extern const char kMeetingRecordNotificationKey_MeetingProcessId[];
/// Text: full path of the recording.
extern const char kMeetingRecordNotificationKey_RecordIntermediatePath[];
/// Text: name of the acknowledged notification.
extern const char kMeetingRecordNotificationKey_AckNotificationName[];
/// Number: the converter's process id.
extern const char kMeetingRecordNotificationKey_AckFromProcessId[];
/// Number: the addressed meeting process; an acknowledgement returns the same value and type that it received.
extern const char kMeetingRecordNotificationKey_AckToProcessId[];

/// The converter's reverse-DNS identifier, which is also the bus name that a running converter owns.
extern const char kMeetingRecordConverterBundleIdentifier[];

/// The converter's launch options; each is followed by one argument, its value.
extern const char kMeetingRecordLaunchParamKey_ProcessId[];              ///< "-pid": the launching meeting process
extern const char kMeetingRecordLaunchParamKey_ProcessName[];            ///< "-pname": its name
extern const char kMeetingRecordLaunchParamKey_Locale[];                 ///< "-locale": language number, 1 to 20
extern const char kMeetingRecordLaunchParamKey_Path[];                   ///< "-path": the first intermediate file
extern const char kMeetingRecordLaunchParamKey_KeepsIntermediateFile[];  ///< "-keepsIntermediateFile": 1 keeps it
