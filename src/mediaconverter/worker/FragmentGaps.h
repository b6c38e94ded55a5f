#pragma once

#include "mediaconverter/worker/SourceReader.h"

#include <cstdint>
#include <vector>

namespace worker {

/// A stretch of a fragmented MP4 that is not what it should be: up to the next whole fragment, or the header of one
/// that says what cannot be.
struct FragmentGap {
    std::int64_t start;
    std::int64_t end;
};

struct Fragmentation {
    std::int64_t first = INT64_MAX;  ///< where the first fragment starts, in bytes; INT64_MAX where there is none
    std::vector<FragmentGap> gaps;
};

/// Walks over the boxes of an MP4 and finds the places from which a demuxer could not go on, or would go astray, but
/// after which there are whole fragments again. No gaps for an MP4 that is not fragmented.
Fragmentation findFragments(const SourceReader& reader);

}  // namespace worker
