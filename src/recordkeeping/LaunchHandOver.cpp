#include "recordkeeping/LaunchHandOver.h"

#include "KTRAppLaunchingEnv.h"
#include "platform/IntegerReading.h"
#include "platform/PathOperations.h"
#include "platform/SystemLog.h"
#include "recordkeeping/HandOverKeys.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

namespace recordkeeping {

namespace {

constexpr std::chrono::seconds patience{5};

/// The running converter has a different working folder than this launch.
std::optional<std::string> absolutePath(const std::optional<std::string>& path) {
    if (!path || path->empty() || path->front() == '/') {
        return path;
    }
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    return error ? path : platform::appendingPathComponent(folder.string(), *path);
}

/// The recording that this launch announces, with the values that the running converter cannot know.
platform::UserInfo recordingOf(const KTRAppLaunchingEnv& environment, std::int32_t meetingProcessId) {
    // One byte wide, as the application reads it.
    const bool keeps = static_cast<std::uint8_t>(platform::integerReading(environment.keepsIntermediateFile())) != 0;
    platform::UserInfo info{{handedOverKey, true},
                            {keepsIntermediateFileKey, keeps},
                            {languageKey, std::max(platform::integerReading(environment.localeId()), 1)},
                            {kMeetingRecordNotificationKey_MeetingProcessId, meetingProcessId}};
    if (const auto path = absolutePath(environment.filePath())) {
        info.emplace(kMeetingRecordNotificationKey_RecordIntermediatePath, *path);
    }
    return info;
}

}  // namespace

LaunchHandOver::LaunchHandOver(platform::InstanceBus& bus, const std::vector<std::string>& arguments) : bus_(bus) {
    KTRAppLaunchingEnv environment;
    environment.parseArguments(arguments);
    meetingProcessId_ = platform::integerReading(environment.parentProcessId());
    recording_ = recordingOf(environment, meetingProcessId_);
    bus_.setListener(this);
}

LaunchHandOver::~LaunchHandOver() {
    bus_.setListener(nullptr);
}

LaunchHandOver::Outcome LaunchHandOver::run() {
    // Each iteration meets a different owner of the name, so this ends when converters stop coming and going.
    for (;;) {
        if (bus_.acquireName(kMeetingRecordConverterBundleIdentifier)) {
            return Outcome::becamePrimary;
        }
        owner_ = bus_.ownerOf(kMeetingRecordConverterBundleIdentifier);
        const auto processId = owner_.empty() ? std::nullopt : bus_.processIdOf(owner_);
        if (!processId) {
            continue;
        }
        if (meetingProcessId_ != 0) {
            const auto answer = offerRecording();
            if (answer == Answer::ownerLeft || answer == Answer::busLost) {
                continue;
            }
            if (answer == Answer::none) {
                platform::SystemLog::standard().write("the running record converter, process " +
                                                          std::to_string(*processId) +
                                                          ", has not acknowledged; the recording waits in its queue",
                                                      platform::Severity::warning);
            }
        }
        confirmSpawn(*processId);
        return Outcome::done;
    }
}

LaunchHandOver::Answer LaunchHandOver::offerRecording() {
    answer_ = Answer::none;
    bus_.postToOthers({kMeetingRecordNotificationName_RecordingStarted, std::nullopt, recording_});
    bus_.wait(patience);
    return answer_;
}

void LaunchHandOver::confirmSpawn(std::int32_t ownerProcessId) {
    bus_.postToOthers({kMeetingRecordNotificationName_AppSpawnConfirm, std::nullopt,
                       platform::UserInfo{{kMeetingRecordNotificationKey_AckFromProcessId, ownerProcessId},
                                          {kMeetingRecordNotificationKey_AckToProcessId, meetingProcessId_}}});
    bus_.flush();
}

void LaunchHandOver::notificationArrived(const platform::DistributedNotification& notification,
                                         const std::string& sender) {
    if (sender != owner_ || notification.name != kMeetingRecordNotificationName_AckNotification ||
        !notification.userInfo) {
        return;
    }
    const auto& info = *notification.userInfo;
    const auto name = info.find(kMeetingRecordNotificationKey_AckNotificationName);
    const auto addressee = info.find(kMeetingRecordNotificationKey_AckToProcessId);
    if (name != info.end() && platform::textValue(name->second) == kMeetingRecordNotificationName_RecordingStarted &&
        addressee != info.end() && platform::integerValue(addressee->second) == meetingProcessId_) {
        finish(Answer::acknowledged);
    }
}

void LaunchHandOver::ownerLeft(const std::string& busName, const std::string& owner) {
    if (busName == kMeetingRecordConverterBundleIdentifier && owner == owner_) {
        finish(Answer::ownerLeft);
    }
}

void LaunchHandOver::busLost() {
    finish(Answer::busLost);
}

void LaunchHandOver::finish(Answer answer) {
    // An acknowledgement stays valid, even if the owner leaves before this wait has ended.
    if (answer_ == Answer::none) {
        answer_ = answer;
        bus_.stopWaiting();
    }
}

}  // namespace recordkeeping
