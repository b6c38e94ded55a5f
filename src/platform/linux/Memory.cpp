#include "platform/linux/Memory.h"

#include <malloc.h>

namespace platform {

void returnLargeMemoryAtOnce() {
    // Any value that is set by hand also stops the threshold from growing by itself. The pictures of one bubble are
    // larger than this; what the core allocates is far smaller.
    constexpr int threshold = 64 * 1024;
    (void)::mallopt(M_MMAP_THRESHOLD, threshold);
}

void returnFreedMemory() {
    (void)::malloc_trim(0);
}

}  // namespace platform
