#include "mediaconverter/worker/confinement/AllocationWatch.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <dlfcn.h>

// The C library's allocation functions, with a check of each result: the media libraries resolve to these first,
// because the program precedes all libraries.

namespace {

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

/// The C library's function that ours replaces.
template<typename Function>
Function next(std::atomic<Function>& known, const char* name) {
    Function function = known.load(std::memory_order_relaxed);
    if (function == nullptr) {
        function = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
        known.store(function, std::memory_order_relaxed);
    }
    return function;
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
    return watched(next(nextMalloc, "malloc")(size), size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return watched(next(nextCalloc, "calloc")(count, size), count * size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return watched(next(nextRealloc, "realloc")(block, size), size);
}

int posix_memalign(void** result, std::size_t alignment, std::size_t size) noexcept {
    const int error = next(nextAligned, "posix_memalign")(result, alignment, size);
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
