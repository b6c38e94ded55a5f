#include "KTRMeetingProcessGuard.h"

#include "platform/RunLoop.h"
#include "platform/RunningApplications.h"
#include "platform/SystemLog.h"

#include <string>
#include <utility>

KTRMeetingProcessGuard::KTRMeetingProcessGuard(std::int32_t meetingProcessId, platform::RunLoop& runLoop,
                                               const platform::RunningApplications& runningApplications)
    : runLoop_(runLoop), runningApplications_(runningApplications), meetingProcessId_(meetingProcessId) {
    platform::SystemLog::standard().write("-[KTRMeetingProcessGuard initWithMeetingProcessId:]: pid = " +
                                          std::to_string(meetingProcessId_));
}

KTRMeetingProcessGuard::~KTRMeetingProcessGuard() {
    platform::SystemLog::standard().write("-[KTRMeetingProcessGuard dealloc]");
    stopGuardTimer();
}

void KTRMeetingProcessGuard::guardIt() {
    startGuardTimer();
}

void KTRMeetingProcessGuard::cancel() {
    stopGuardTimer();
}

void KTRMeetingProcessGuard::startGuardTimer() {
    if (guardTimer_) {
        return;
    }
    heldByTimer_ = shared_from_this();
    guardTimer_ = runLoop_.scheduleRepeatingTimer(guardInterval_, [this] {
        // A crash stops the timer, and with it what kept this guard alive.
        const auto self = shared_from_this();
        onGuardTimer(guardTimer_);
    });
}

void KTRMeetingProcessGuard::stopGuardTimer() {
    if (guardTimer_ && guardTimer_->isValid()) {
        guardTimer_->invalidate();
        guardTimer_ = nullptr;
        // Last: this may be the guard's end.
        const auto self = std::exchange(heldByTimer_, nullptr);
    }
}

void KTRMeetingProcessGuard::onGuardTimer(const std::shared_ptr<platform::Timer>& /*timer*/) {
    if (peekMeetingProcess()) {
        onFoundMeetingProcess();
    } else {
        onLostMeetingProcess();
    }
}

bool KTRMeetingProcessGuard::peekMeetingProcess() const {
    return runningApplications_.isRunning(meetingProcessId_);
}

void KTRMeetingProcessGuard::onFoundMeetingProcess() {
    failureCounter_ = 0;
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingProcessGuardDidFoundProcess(*this, meetingProcessId_);
    }
}

void KTRMeetingProcessGuard::onLostMeetingProcess() {
    ++failureCounter_;
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingProcessGuardDidLostProcessForTimes(*this, meetingProcessId_, failureCounter_);
    }
    if (failureCounter_ >= maxFailureCount_) {
        stopGuardTimer();
        if (const auto delegate = delegate_.lock()) {
            delegate->meetingProcessGuardDidDetectCrashInProcess(*this, meetingProcessId_);
        }
    }
}
