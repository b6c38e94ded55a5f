#pragma once

#include "BusClient.h"
#include "Child.h"

#include <QString>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// Names of notifications, and the key of an acknowledgement's receiver.
inline const QString acknowledgement = QStringLiteral("kMeetingRecordNotificationName_AckNotification");
inline const QString recordingStarted = QStringLiteral("kMeetingRecordNotificationName_RecordingStarted");
inline const QString recordingStopped = QStringLiteral("kMeetingRecordNotificationName_RecordingStopped");
inline const QString meetingAppQuit = QStringLiteral("kMeetingRecordNotificationName_MeetingAppQuit");
inline const QString ackToProcessId = QStringLiteral("kMeetingRecordNotificationKey_AckToProcessId");

/// Ends the bench with this error.
[[noreturn]] void fail(const std::string& what);

/// Starts `command`; returns once its spawn confirmation has arrived. Fails after ten seconds.
std::unique_ptr<Child> launch(BusClient& client, const std::vector<std::string>& command, double* seconds = nullptr);

/// Seconds from the start of `command` to its spawn confirmation.
double launchSeconds(BusClient& client, const std::vector<std::string>& command);

/// Returns once a program that has been launched has done the work that follows its spawn confirmation.
void letSettle();

/// KiB that `command` shares with no other process while it waits.
double idlePrivateKiB(BusClient& client, const std::vector<std::string>& command);

}  // namespace bench
