#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

namespace platform {
class RunLoop;
class RunningApplications;
class Timer;
}  // namespace platform

class KTRMeetingProcessGuard;

/// Receives the result of every poll, on the run loop's thread.
class KTRMeetingProcessGuardDelegate {
public:
    virtual ~KTRMeetingProcessGuardDelegate() = default;

    /// The process was seen at this poll.
    virtual void meetingProcessGuardDidFoundProcess(KTRMeetingProcessGuard&, std::int32_t /*processId*/) {}

    /// The process was not seen, for this number of consecutive polls, the current one included.
    virtual void meetingProcessGuardDidLostProcessForTimes(KTRMeetingProcessGuard&, std::int32_t /*processId*/,
                                                           std::uint64_t /*times*/) {}

    /// The misses have reached the guard's limit, and polling has stopped.
    virtual void meetingProcessGuardDidDetectCrashInProcess(KTRMeetingProcessGuard&, std::int32_t /*processId*/) {}
};

/// Polls one meeting process on a repeating timer. Held by a shared pointer; keeps itself alive while it polls, even if
/// its owner releases it. Nothing in the application uses it: the pool relies on the kernel's exit watch. One thread,
/// the run loop's.
class KTRMeetingProcessGuard : public std::enable_shared_from_this<KTRMeetingProcessGuard> {
public:
    /// Does not poll yet.
    KTRMeetingProcessGuard(std::int32_t meetingProcessId, platform::RunLoop& runLoop,
                           const platform::RunningApplications& runningApplications);
    ~KTRMeetingProcessGuard();

    KTRMeetingProcessGuard(const KTRMeetingProcessGuard&) = delete;
    KTRMeetingProcessGuard& operator=(const KTRMeetingProcessGuard&) = delete;

    std::shared_ptr<KTRMeetingProcessGuardDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingProcessGuardDelegate>& delegate) { delegate_ = delegate; }

    /// Starts polling; the first poll comes after one interval. Does nothing if it already polls.
    void guardIt();
    /// Stops polling; does nothing if it does not poll.
    void cancel();

    void startGuardTimer();
    void stopGuardTimer();
    void onGuardTimer(const std::shared_ptr<platform::Timer>& timer);

    /// Whether the process can be seen now.
    bool peekMeetingProcess() const;

    std::int32_t meetingProcessId() const { return meetingProcessId_; }
    void setMeetingProcessId(std::int32_t pid) { meetingProcessId_ = pid; }

    /// Seconds between polls; 1 by default. A change takes effect at the next start.
    std::chrono::duration<double> guardInterval() const { return guardInterval_; }
    void setGuardInterval(std::chrono::duration<double> interval) { guardInterval_ = interval; }

    /// Null while not polling.
    const std::shared_ptr<platform::Timer>& guardTimer() const { return guardTimer_; }
    void setGuardTimer(std::shared_ptr<platform::Timer> timer) { guardTimer_ = std::move(timer); }

    /// Consecutive misses so far. A crash does not reset it: after a restart the first miss is a crash at once.
    std::uint64_t failureCounter() const { return failureCounter_; }
    void setFailureCounter(std::uint64_t count) { failureCounter_ = count; }

    /// The number of misses that counts as a crash; 5 by default.
    std::uint64_t maxFailureCount() const { return maxFailureCount_; }
    void setMaxFailureCount(std::uint64_t count) { maxFailureCount_ = count; }

private:
    void onFoundMeetingProcess();
    void onLostMeetingProcess();

    platform::RunLoop& runLoop_;
    const platform::RunningApplications& runningApplications_;
    std::int32_t meetingProcessId_;
    std::weak_ptr<KTRMeetingProcessGuardDelegate> delegate_;
    std::chrono::duration<double> guardInterval_{1.0};
    std::shared_ptr<platform::Timer> guardTimer_;
    std::uint64_t failureCounter_ = 0;
    std::uint64_t maxFailureCount_ = 5;
    // Keeps this guard alive for the timer that was started last.
    std::weak_ptr<std::shared_ptr<KTRMeetingProcessGuard>> timerHold_;
};
