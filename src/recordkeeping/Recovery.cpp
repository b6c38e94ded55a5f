#include "recordkeeping/Recovery.h"

#include "AppDelegate.h"
#include "KTRConverterReportProtocol.h"
#include "platform/FileManager.h"
#include "platform/SystemLog.h"
#include "recordkeeping/TappedNotificationCenter.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <utility>

namespace recordkeeping {

namespace {

void logLine(const std::string& text, platform::Severity severity = platform::Severity::notice) {
    platform::SystemLog::standard().write(text, severity);
}

}  // namespace

Recovery::Recovery(AppDelegate& application, TappedNotificationCenter& center, PendingRecordings& pending,
                   const platform::ProcessIdentities& processes, const platform::FileManager& files)
    : application_(application), center_(center), pending_(pending), processes_(processes), files_(files) {}

bool Recovery::bring(const std::vector<PendingEntry>& entries) {
    hasWork_ = false;
    for (const auto& entry : entries) {
        if (!pending_.isSpokenFor(entry.source)) {
            bringOne(entry);
        }
    }
    convertGroups();
    return hasWork_;
}

bool Recovery::isSaved(const PendingEntry& entry) const {
    // The destination was free when the attempt started, and an MP4 appears there complete or not at all.
    return !entry.destination.empty() && files_.fileExistsAtPath(entry.destination, nullptr);
}

void Recovery::bringOne(const PendingEntry& entry) {
    if (isSaved(entry)) {
        logLine("a converter that has ended saved " + entry.source + " as " + entry.destination);
        application_.converterReporter()->reportProcessDoneWithFilePath(entry.destination);
        pending_.remove(entry.source);
        hasWork_ = true;
    } else if (entry.state < PendingEntry::State::due && processes_.isAlive(entry.meeting)) {
        announceAgain(entry);
    } else if (!files_.fileExistsAtPath(entry.source, nullptr)) {
        logLine("the recording " + entry.source + " no longer exists and is forgotten", platform::Severity::warning);
        pending_.remove(entry.source);
        hasWork_ = true;
    } else if (entry.attempts >= PendingRecordings::mostAttempts) {
        logLine("the converter has ended " + std::to_string(entry.attempts) + " times while it converted " +
                    entry.source + "; it is left alone: convert-recording --pending converts it by hand",
                platform::Severity::error);
        if (entry.state != PendingEntry::State::left) {
            application_.converterReporter()->reportProcessDoneWithFilePath(std::nullopt);
            pending_.noteLeft(entry.source);
        }
        hasWork_ = true;
    } else {
        groups_[idFor(entry)].push_back(entry.source);
    }
}

void Recovery::announceAgain(const PendingEntry& entry) {
    const auto processId = entry.meeting.processId;
    if (isWriting(processId)) {
        // The process has moved on to another recording, so this one is complete.
        groups_[0].push_back(entry.source);
        return;
    }
    logLine("taking up " + entry.source + " again; process " + std::to_string(processId) + " is at work");
    pending_.noteSpokenFor(entry.source, processId);
    speak(kMeetingRecordNotificationName_RecordingStarted, processId, entry.source);
    if (entry.state == PendingEntry::State::written) {
        speak(kMeetingRecordNotificationName_RecordingStopped, processId);
    }
    hasWork_ = true;
}

void Recovery::convertGroups() {
    for (const auto& [processId, sources] : std::exchange(groups_, {})) {
        for (const auto& source : sources) {
            logLine("converting " + source + ", which a converter that has ended left");
            pending_.noteSpokenFor(source, processId);
            speak(kMeetingRecordNotificationName_RecordingStarted, processId, source);
            speak(kMeetingRecordNotificationName_RecordingStopped, processId);
        }
        speak(kMeetingRecordNotificationName_MeetingAppQuit, processId);
        hasWork_ = true;
    }
}

std::int32_t Recovery::idFor(const PendingEntry& entry) const {
    // The id may have been reused by a process that is recording: 0 belongs to no process.
    const auto processId = entry.meeting.processId;
    const bool isFree = processId > 0 && processes_.identityOf(processId).startTime == 0 &&
                        !application_.meetingPool()->meetingApps().contains(processId);
    return isFree ? processId : 0;
}

bool Recovery::isWriting(std::int32_t processId) const {
    const auto& meetings = application_.meetingPool()->meetingApps();
    const auto found = meetings.find(processId);
    return found != meetings.end() && found->second->writingFile().has_value();
}

void Recovery::speak(const char* name, std::int32_t processId, const std::string& path) {
    platform::UserInfo info{{kMeetingRecordNotificationKey_MeetingProcessId, processId}};
    if (!path.empty()) {
        info.emplace(kMeetingRecordNotificationKey_RecordIntermediatePath, path);
    }
    center_.speak({name, std::nullopt, std::move(info)});
}

}  // namespace recordkeeping
