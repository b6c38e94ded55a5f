#include "KTRProcessGuard.h"

#include "platform/ProcessExitWatch.h"
#include "unifiedtram/unifiedtram.h"

#include <algorithm>
#include <utility>

namespace {

// The guard that receives exit reports. An armed watch cannot be cancelled, so it looks the guard up here instead of
// keeping a pointer that might dangle.
std::shared_ptr<KTRProcessGuard> object;

}  // namespace

std::shared_ptr<KTRProcessGuard> KTRProcessGuard::create(platform::ProcessExitWatch& exitWatch) {
    std::shared_ptr<KTRProcessGuard> guard(new KTRProcessGuard(exitWatch));
    object = guard;
    return guard;
}

KTRProcessGuard::KTRProcessGuard(platform::ProcessExitWatch& exitWatch) : exitWatch_(exitWatch) {
    guardProcessIdArr_.reserve(10);
}

KTRProcessGuard::~KTRProcessGuard() {
    // `object` needs no clearing: this destructor cannot run while `object` holds the guard.
    guardProcessIdArr_.clear();
}

void KTRProcessGuard::guardProcessWithPid(std::int32_t pid) {
    MacInfoTrace2("RecordConverter", "%s: process guard for pid = %d", "-[KTRProcessGuard guardProcessWithPid:]", pid);
    const std::lock_guard lock(lock_);
    if (std::find(guardProcessIdArr_.begin(), guardProcessIdArr_.end(), pid) == guardProcessIdArr_.end()) {
        guardProcessIdArr_.push_back(pid);
        guardWithPid(pid);
    }
}

void KTRProcessGuard::guardWithPid(std::int32_t pid) {
    exitWatch_.watch(pid, NoteExitKQueueCallback);
}

void KTRProcessGuard::onLostMeetingProcessWithPid(std::int32_t pid) {
    const std::lock_guard lock(lock_);
    if (std::find(guardProcessIdArr_.begin(), guardProcessIdArr_.end(), pid) == guardProcessIdArr_.end()) {
        return;
    }
    if (const auto delegate = delegate_.lock()) {
        delegate->processGuardLostProcess(pid);
    }
    std::erase(guardProcessIdArr_, pid);
}

void KTRProcessGuard::removeGuardProcessWithPid(std::int32_t pid) {
    MacInfoTrace2("RecordConverter", "%s: remove process guard for pid = %d",
                  "-[KTRProcessGuard removeGuardProcessWithPid:]", pid);
    const std::lock_guard lock(lock_);
    std::erase(guardProcessIdArr_, pid);
}

std::vector<std::int32_t> KTRProcessGuard::guardProcessIdArr() const {
    const std::lock_guard lock(lock_);
    return guardProcessIdArr_;
}

void KTRProcessGuard::setGuardProcessIdArr(std::vector<std::int32_t> pids) {
    const std::lock_guard lock(lock_);
    guardProcessIdArr_ = std::move(pids);
}

void NoteExitKQueueCallback(std::int32_t pid) {
    MacInfoTrace2("RecordConverter", "%s: observe process exit pid %d", "NoteExitKQueueCallback", pid);
    if (const auto guard = object) {
        guard->onLostMeetingProcessWithPid(pid);
    }
}
