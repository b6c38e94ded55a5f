#pragma once

#include "mediaconverter/worker/SourceReader.h"

#include <cstdint>
#include <vector>

namespace worker {

/// A stretch of a fragmented MP4 that is not what it should be, up to the next whole fragment.
struct FragmentGap {
    std::int64_t start;
    std::int64_t end;
};

/// Walks over the boxes of an MP4 and finds the places from which a demuxer could not go on, but behind which there
/// are whole fragments again. None for an MP4 that is not fragmented.
std::vector<FragmentGap> findFragmentGaps(const SourceReader& reader);

}  // namespace worker
