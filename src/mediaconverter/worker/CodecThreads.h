#pragma once

#include <cstdint>

namespace worker {

/// How many threads the codecs of one video track run, each of which keeps pictures of its own.
struct CodecThreads {
    int decoder = 1;
    int encoder = 1;
};

/// The most that pictures of `pixels` pixels leave room for within the worker's address space, as many as are of use on
/// `processors` processors, and sixteen at most of each kind for all `tracks` tracks together. At least one per track.
CodecThreads codecThreadsFor(std::int64_t pixels, int processors, int tracks);

}  // namespace worker
