#include "KTRAppInlet.h"

#include "platform/DistributedNotificationCenter.h"
#include "platform/ProcessInformation.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "unifiedtram/unifiedtram.h"

namespace {

/// Null if there is no user info or it lacks the key.
const platform::UserInfoValue* entry(const platform::DistributedNotification& notification, const char* key) {
    if (!notification.userInfo) {
        return nullptr;
    }
    const auto found = notification.userInfo->find(key);
    return found == notification.userInfo->end() ? nullptr : &found->second;
}

std::int32_t meetingProcessId(const platform::DistributedNotification& notification) {
    const auto* const value = entry(notification, kMeetingRecordNotificationKey_MeetingProcessId);
    return value != nullptr ? platform::integerValue(*value) : 0;
}

std::optional<std::string> intermediatePath(const platform::DistributedNotification& notification) {
    const auto* const value = entry(notification, kMeetingRecordNotificationKey_RecordIntermediatePath);
    return value != nullptr ? platform::textValue(*value) : std::nullopt;
}

}  // namespace

KTRAppInlet::KTRAppInlet(platform::DistributedNotificationCenter& center,
                         const platform::ProcessInformation& processInformation)
    : center_(center), processInformation_(processInformation) {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRAppInlet init]");
    listenToOutside();
}

KTRAppInlet::~KTRAppInlet() {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRAppInlet dealloc]");
    turnDeafEar();
}

void KTRAppInlet::listenToOutside() {
    for (const char* const name :
         {kMeetingRecordNotificationName_RecordingStarted, kMeetingRecordNotificationName_RecordingStopped,
          kMeetingRecordNotificationName_MeetingAppQuit}) {
        center_.addObserver(this, name, [this](const platform::DistributedNotification& notification) {
            onExternalNotification(notification);
        });
    }
}

void KTRAppInlet::turnDeafEar() {
    center_.removeObserver(this);
}

void KTRAppInlet::onExternalNotification(const platform::DistributedNotification& notification) {
    constexpr const char* method = "-[KTRAppInlet onExternalNotification:]";
    MacInfoTrace2("RecordConverter", "%s: %s", method, notification.name.c_str());
    // Comes first: the client waits for the acknowledgement, whatever the notification leads to.
    ackNotification(notification);

    const auto delegate = delegate_.lock();
    if (notification.name == kMeetingRecordNotificationName_RecordingStarted) {
        if (delegate) {
            delegate->appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(
                *this, meetingProcessId(notification), intermediatePath(notification));
        }
    } else if (notification.name == kMeetingRecordNotificationName_RecordingStopped) {
        if (delegate) {
            delegate->appInletSeesMeetingRecordStopedInProcess(*this, meetingProcessId(notification));
        }
    } else if (notification.name == kMeetingRecordNotificationName_MeetingAppQuit) {
        if (delegate) {
            delegate->appInletSeesMeetingQuitFromProcess(*this, meetingProcessId(notification));
        }
    } else {
        MacWarnTrace2("RecordConverter", "%s: unknown external notification %s", method, notification.name.c_str());
    }
}

void KTRAppInlet::ackNotification(const platform::DistributedNotification& notification) {
    const auto* const addressee = entry(notification, kMeetingRecordNotificationKey_MeetingProcessId);
    if (addressee == nullptr) {
        return;
    }
    const std::int32_t ownProcessId = processInformation_.processIdentifier();
    const platform::UserInfo userInfo = {
        {kMeetingRecordNotificationKey_AckNotificationName, notification.name},
        {kMeetingRecordNotificationKey_AckFromProcessId, ownProcessId},
        {kMeetingRecordNotificationKey_AckToProcessId, *addressee},
    };
    MacInfoTrace2("RecordConverter", "%s: %s, from p_id = %d, to p_id = %d", "-[KTRAppInlet ackNotification:]",
                  notification.name.c_str(), ownProcessId, platform::integerValue(*addressee));
    center_.postNotification({kMeetingRecordNotificationName_AckNotification, std::nullopt, userInfo});
}
