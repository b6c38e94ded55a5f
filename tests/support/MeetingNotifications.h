#pragma once

#include "platform/DistributedNotificationCenter.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <optional>

namespace test {

/// A notification as a meeting process posts it. `path` is that of a recording, for a start. A test may give either in
/// a type that no client sends.
inline platform::DistributedNotification
meetingNotification(const char* name, const platform::UserInfoValue& pid,
                    const std::optional<platform::UserInfoValue>& path = std::nullopt) {
    platform::UserInfo userInfo{{kMeetingRecordNotificationKey_MeetingProcessId, pid}};
    if (path) {
        userInfo.emplace(kMeetingRecordNotificationKey_RecordIntermediatePath, *path);
    }
    return {name, std::nullopt, userInfo};
}

}  // namespace test
