#pragma once

#include <cstdint>

namespace worker {

/// The number of threads for the codecs of one video track; each thread holds frames of its own.
struct CodecThreads {
    int decoder = 1;
    int encoder = 1;
};

/// The most threads for which frames of `pixels` pixels leave room in the worker's address space, limited to what
/// `processors` processors can use, and to sixteen of each kind for all `tracks` tracks together. At least one per
/// track.
CodecThreads codecThreadsFor(std::int64_t pixels, int processors, int tracks);

}  // namespace worker
