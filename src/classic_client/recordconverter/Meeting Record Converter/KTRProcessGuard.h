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

/// Learns from the kernel when a guarded process ends. Owned by the meeting pool, to which it reports; the system
/// keeps exactly one. Main thread; the list of guarded ids may be asked for and changed from any.
class KTRProcessGuard {
public:
    /// The new guard is the one that the kernel's reports reach from here on.
    static std::shared_ptr<KTRProcessGuard> create(platform::ProcessExitWatch& exitWatch);
    ~KTRProcessGuard();

    KTRProcessGuard(const KTRProcessGuard&) = delete;
    KTRProcessGuard& operator=(const KTRProcessGuard&) = delete;

    std::shared_ptr<KTRProcessGuardDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRProcessGuardDelegate>& delegate) { delegate_ = delegate; }

    /// Guards `pid`, once however often it is called. A process that is gone already stays in the list unreported.
    void guardProcessWithPid(std::int32_t pid);

    /// The process has been dealt with: its coming end is ignored. Unknown ids are ignored.
    void removeGuardProcessWithPid(std::int32_t pid);

    /// A process has ended; only for the exit watch's callback.
    void onLostMeetingProcessWithPid(std::int32_t pid);

    /// The guarded ids, in the order of guarding, none twice. A copy.
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

/// What the exit watch calls with the id of a process that has ended.
void NoteExitKQueueCallback(std::int32_t pid);
