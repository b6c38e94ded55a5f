#include "platform/linux/Memory.h"

#include <array>
#include <cstddef>
#include <exception>
#include <malloc.h>
#include <memory>
#include <new>
#include <thread>

namespace platform {

namespace {

/// The GNU allocator keeps up to seven freed blocks of each of its 64 smallest sizes for the thread that freed them,
/// and each of them pins its page. This allocates all of them and lets a short-lived thread free them: what such a
/// thread has kept goes back to the heap when it ends.
void giveUpKeptBlocks() {
    constexpr std::size_t sizes = 64;
    constexpr std::size_t keptOfEach = 7;
    constexpr std::size_t smallest = 24;
    constexpr std::size_t step = 16;
    std::array<std::unique_ptr<std::byte[]>, sizes * keptOfEach> kept;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        kept.at(i).reset(new (std::nothrow) std::byte[smallest + step * (i / keptOfEach)]);
    }
    try {
        std::thread([&kept] { kept = {}; }).join();
    } catch (const std::exception&) {
        // No thread could be created, so the blocks stay with this one.
    }
}

}  // namespace

void keepMemoryTogether() {
    // Setting any value also stops the threshold from growing automatically. The images of one bubble are larger than
    // this; the core's allocations are far smaller.
    constexpr int threshold = 64 * 1024;
    static_cast<void>(::mallopt(M_MMAP_THRESHOLD, threshold));
    static_cast<void>(::mallopt(M_MXFAST, 0));
    static_cast<void>(::mallopt(M_ARENA_MAX, 1));
}

void returnFreedMemory() {
    giveUpKeptBlocks();
    static_cast<void>(::malloc_trim(0));
}

}  // namespace platform
