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

/// Walks over the boxes of an MP4 and finds the places from which a demuxer could not go on, or would go astray, but
/// behind which there are whole fragments again. None for an MP4 that is not fragmented.
std::vector<FragmentGap> findFragmentGaps(const SourceReader& reader);

}  // namespace worker
