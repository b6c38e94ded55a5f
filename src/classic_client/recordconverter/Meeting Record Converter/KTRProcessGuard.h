#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {
class ProcessExitWatch;
}

class KTRProcessGuardDelegate {
public:
    virtual ~KTRProcessGuardDelegate() = default;

    /// A guarded process has ended. Called with the guard's lock held: must not call the guard.
    virtual void processGuardLostProcess(std::int32_t /*processId*/) {}
};

/// Learns from the kernel when a guarded process ends. Owned by the meeting pool, to which it reports; there is exactly
/// one. Main thread; the list of guarded ids may be read and changed from any thread.
class KTRProcessGuard {
public:
    /// From here on the new guard receives the kernel's reports.
    static std::shared_ptr<KTRProcessGuard> create(platform::ProcessExitWatch& exitWatch);
    ~KTRProcessGuard();

    KTRProcessGuard(const KTRProcessGuard&) = delete;
    KTRProcessGuard& operator=(const KTRProcessGuard&) = delete;

    std::shared_ptr<KTRProcessGuardDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRProcessGuardDelegate>& delegate) { delegate_ = delegate; }

    /// Guards `pid`; repeated calls have no effect. A process that has already ended stays in the list unreported.
    void guardProcessWithPid(std::int32_t pid);

    /// The process has been handled: its later exit is ignored. Unknown ids are ignored.
    void removeGuardProcessWithPid(std::int32_t pid);

    /// A process has ended; only for the exit watch's callback.
    void onLostMeetingProcessWithPid(std::int32_t pid);

    /// The guarded ids, in the order they were added, without duplicates. A copy.
    std::vector<std::int32_t> guardProcessIdArr() const;
    void setGuardProcessIdArr(std::vector<std::int32_t> pids);

private:
    explicit KTRProcessGuard(platform::ProcessExitWatch& exitWatch);

    void guardWithPid(std::int32_t pid);

    platform::ProcessExitWatch& exitWatch_;
    std::weak_ptr<KTRProcessGuardDelegate> delegate_;
    std::vector<std::int32_t> guardProcessIdArr_;
    mutable std::mutex lock_;
};

/// The exit watch calls this with the id of a process that has ended.
void NoteExitKQueueCallback(std::int32_t pid);
