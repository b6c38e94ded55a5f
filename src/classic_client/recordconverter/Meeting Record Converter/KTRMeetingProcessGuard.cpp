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
    // Each timer keeps its guard alive until it is stopped, even after `guardTimer_` names another timer.
    const auto hold = std::make_shared<std::shared_ptr<KTRMeetingProcessGuard>>(shared_from_this());
    timerHold_ = hold;
    guardTimer_ = runLoop_.scheduleRepeatingTimer(guardInterval_, [hold] {
        // A crash stops the timer, which may release this guard.
        if (const auto self = *hold) {
            self->onGuardTimer(self->guardTimer_);
        }
    });
}

void KTRMeetingProcessGuard::stopGuardTimer() {
    if (guardTimer_ && guardTimer_->isValid()) {
        guardTimer_->invalidate();
        guardTimer_ = nullptr;
        const auto hold = timerHold_.lock();
        // Comes last: releasing this may destroy the guard.
        const auto self = hold ? std::exchange(*hold, nullptr) : nullptr;
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
