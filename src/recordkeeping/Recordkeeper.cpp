#include "recordkeeping/Recordkeeper.h"

#include "AppDelegate.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <utility>

namespace recordkeeping {

namespace {

std::int32_t meetingProcessId(const platform::DistributedNotification& notification) {
    if (!notification.userInfo) {
        return 0;
    }
    const auto found = notification.userInfo->find(kMeetingRecordNotificationKey_MeetingProcessId);
    return found == notification.userInfo->end() ? 0 : platform::integerValue(found->second);
}

}  // namespace

Recordkeeper::Recordkeeper(const platform::Platform& platform, platform::BusySerialQueueMaker& queues,
                           MeetingProcessWatch::Barrier afterDelivery)
    : platform_(platform),
      queues_(queues),
      center_(platform.distributedCenter),
      processWatch_(platform.exitWatch, std::move(afterDelivery)),
      runLoop_(platform.runLoop) {
    center_.setHooks(nullptr,
                     [this](const platform::DistributedNotification& notification) { noteHandled(notification); });
    processWatch_.setEndHandler([this](std::int32_t processId) { noteEnded(processId); });
}

Recordkeeper::~Recordkeeper() = default;

platform::Platform Recordkeeper::platformForApplication() {
    return {platform_.application,
            runLoop_,
            platform_.mainQueue,
            platform_.serialQueueMaker,
            center_,
            platform_.notificationCenter,
            processWatch_,
            platform_.processInformation,
            platform_.fileManager,
            platform_.statusBar,
            platform_.workspace};
}

void Recordkeeper::setApplication(std::shared_ptr<AppDelegate> application) {
    application_ = std::move(application);
    work_.emplace(*application_, queues_, platform_.mainQueue);
}

void Recordkeeper::noteLaunched() {
    work_->look();
}

void Recordkeeper::noteIdle() {
    work_->noteIdle();
}

void Recordkeeper::noteGone(std::int32_t processId) {
    processWatch_.noteGone(processId);
}

bool Recordkeeper::mayTerminate() const {
    return work_->mayTerminate();
}

void Recordkeeper::noteHandled(const platform::DistributedNotification& notification) {
    const auto processId = meetingProcessId(notification);
    // The application guards a process from its first start on. A stop without one leaves an entry that nothing would
    // ever take away.
    if (isKnown(processId)) {
        processWatch_.watchIfUnwatched(processId);
    }
    work_->look();
}

void Recordkeeper::noteEnded(std::int32_t processId) {
    if (isKnown(processId)) {
        center_.speak({kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt,
                       platform::UserInfo{{kMeetingRecordNotificationKey_MeetingProcessId, processId}}});
    }
    work_->look();
}

bool Recordkeeper::isKnown(std::int32_t processId) const {
    return application_->meetingPool()->meetingApps().contains(processId);
}

}  // namespace recordkeeping
