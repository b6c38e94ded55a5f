#include "mediaconverter/worker/confinement/AllocationWatch.h"

#include "mediaconverter/NextFunction.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The allocation functions, with a check of each result: the media libraries resolve to these first, because the
// program precedes all libraries, the allocator's too.

namespace {

using mediaconverter::nextFunction;

std::atomic<bool> refused{false};

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

/// Even the largest possible uncompressed frame is no larger.
constexpr std::size_t mostNeeded = std::size_t{256} << 20U;

void* watched(void* block, std::size_t size) {
    if (block == nullptr && size > 0 && size <= mostNeeded) {
        refused = true;
    }
    return block;
}

std::atomic<void* (*)(std::size_t)> nextMalloc{nullptr};
std::atomic<void* (*)(std::size_t, std::size_t)> nextCalloc{nullptr};
std::atomic<void* (*)(void*, std::size_t)> nextRealloc{nullptr};
std::atomic<int (*)(void**, std::size_t, std::size_t)> nextAligned{nullptr};

#endif

}  // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these have their own

#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) noexcept {
    return watched(nextFunction(nextMalloc, "malloc")(size), size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return watched(nextFunction(nextCalloc, "calloc")(count, size), count * size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return watched(nextFunction(nextRealloc, "realloc")(block, size), size);
}

int posix_memalign(void** result, std::size_t alignment, std::size_t size) noexcept {
    const int error = nextFunction(nextAligned, "posix_memalign")(result, alignment, size);
    if (error == ENOMEM) {
        watched(nullptr, size);
    }
    return error;
}

}  // extern "C"
#pragma GCC visibility pop

#endif

namespace worker {

bool wasMemoryRefused() {
    return refused;
}

}  // namespace worker
