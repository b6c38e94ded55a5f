#pragma once

#include "mediaconverter/worker/reading/SourceReader.h"

#include <cstdint>
#include <vector>

namespace worker {

/// A damaged range of a fragmented MP4: up to the next complete fragment, or the header of a fragment with impossible
/// values.
struct FragmentGap {
    std::int64_t start;
    std::int64_t end;
};

struct Fragmentation {
    std::int64_t first = INT64_MAX;  ///< where the first fragment starts, in bytes; INT64_MAX if there is none
    std::vector<FragmentGap> gaps;
};

/// Walks over the boxes of an MP4 and finds the ranges at which a demuxer would stop or go astray although complete
/// fragments follow. No gaps for an MP4 that is not fragmented.
Fragmentation findFragments(const SourceReader& reader);

}  // namespace worker
