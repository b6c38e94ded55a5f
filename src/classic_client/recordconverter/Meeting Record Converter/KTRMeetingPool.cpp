#include "KTRMeetingPool.h"

#include "platform/SystemLog.h"
#include "unifiedtram/unifiedtram.h"

#include <utility>

std::shared_ptr<KTRMeetingPool> KTRMeetingPool::create(platform::ProcessExitWatch& exitWatch) {
    std::shared_ptr<KTRMeetingPool> pool(new KTRMeetingPool);
    pool->processGuard_ = KTRProcessGuard::create(exitWatch);
    pool->processGuard_->setDelegate(pool);
    return pool;
}

KTRMeetingPool::KTRMeetingPool() {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRMeetingPool init]");
}

std::shared_ptr<KTRMeetingAppRepresentative> KTRMeetingPool::meetingAppRepresentativeForProcess(std::int32_t pid) {
    const auto found = meetingApps_.find(pid);
    if (found != meetingApps_.end()) {
        return found->second;
    }
    MacInfoTrace2("RecordConverter", "%s: instanticating new App Rep for pid = %d",
                  "-[KTRMeetingPool meetingAppRepresentativeForProcess:]", pid);
    auto representative = std::make_shared<KTRMeetingAppRepresentative>(pid);
    representative->setDelegate(shared_from_this());
    meetingApps_[pid] = representative;
    countOfMeetingProcesses_ = meetingApps_.size();
    return representative;
}

void KTRMeetingPool::onReceiveJobFromMeetingProcessSavingToFile(std::int32_t pid,
                                                                const std::optional<std::string>& path) {
    processGuard_->guardProcessWithPid(pid);
    const auto representative = meetingAppRepresentativeForProcess(pid);
    if (representative->startsLocalRecordingWithIntermediateFile(path)) {
        if (const auto delegate = delegate_.lock()) {
            delegate->meetingPoolDidReceiveJobFromProcessWritingTo(*this, pid, path);
        }
    }
}

void KTRMeetingPool::onStashJobFromMeetingProcess(std::int32_t pid) {
    const auto representative = meetingAppRepresentativeForProcess(pid);
    if (const auto path = representative->stopsLocalRecording()) {
        if (const auto delegate = delegate_.lock()) {
            delegate->meetingPoolDidStashJobFromProcessSavedAt(*this, pid, path);
        }
    }
}

void KTRMeetingPool::fletchWithFirstMeetingProcessSavingToIntermediateFile(std::int32_t pid,
                                                                           const std::optional<std::string>& path) {
    onReceiveJobFromMeetingProcessSavingToFile(pid, path);
}

void KTRMeetingPool::expellMeetingAppRepresentativeWithProcessId(std::int32_t pid) {
    constexpr const char* method = "-[KTRMeetingPool expellMeetingAppRepresentativeWithProcessId:]";
    MacInfoTrace2("RecordConverter", "%s: pid = %d", method, pid);
    removeMeetingApp(pid);
    if (meetingApps_.empty()) {
        MacInfoTrace2("RecordConverter", "%s: meeting pool exhausted.", method);
        if (const auto delegate = delegate_.lock()) {
            delegate->meetingPoolDidExhaust(*this);
        }
    }
}

void KTRMeetingPool::setMeetingApps(MeetingApps meetingApps) {
    meetingApps_ = std::move(meetingApps);
    countOfMeetingProcesses_ = meetingApps_.size();
}

void KTRMeetingPool::removeMeetingApp(std::int32_t pid) {
    meetingApps_.erase(pid);
    countOfMeetingProcesses_ = meetingApps_.size();
}

void KTRMeetingPool::appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(
    KTRAppInlet&, std::int32_t pid, const std::optional<std::string>& path) {
    onReceiveJobFromMeetingProcessSavingToFile(pid, path);
}

void KTRMeetingPool::appInletSeesMeetingRecordStopedInProcess(KTRAppInlet&, std::int32_t pid) {
    onStashJobFromMeetingProcess(pid);
}

void KTRMeetingPool::appInletSeesMeetingQuitFromProcess(KTRAppInlet&, std::int32_t pid) {
    platform::SystemLog::standard().write("Meeting App Quit");
    const auto representative = meetingAppRepresentativeForProcess(pid);
    processGuard_->removeGuardProcessWithPid(pid);
    removeMeetingApp(pid);
    representative->commencesConverting();
}

void KTRMeetingPool::processGuardLostProcess(std::int32_t pid) {
    // Does not remove the id from the guard: the guard calls this with its lock held and drops the id itself.
    const auto representative = meetingAppRepresentativeForProcess(pid);
    removeMeetingApp(pid);
    representative->commencesConverting();
}

void KTRMeetingPool::meetingAppRepresentativeRequestsToConvertRecords(KTRMeetingAppRepresentative& representative,
                                                                      const std::vector<std::string>& paths) {
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingPoolDidReceiveRequestFromProcessToConvertRecords(*this, representative.appPID(), paths);
    }
}

void KTRMeetingPool::meetingAppRepresentativeDidRetire(KTRMeetingAppRepresentative& representative) {
    expellMeetingAppRepresentativeWithProcessId(representative.appPID());
}
