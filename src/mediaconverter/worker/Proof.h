#pragma once

#include "mediaconverter/worker/Mp4Writer.h"

#include <vector>

namespace worker {

/// Reads the finished file afresh and compares it with what was put in: the tracks, the packets of each, their
/// durations, and a packet at the start, in the middle and at the end. Throws Failure, and
/// TrackFailure where one track is amiss.
void proveMp4(int descriptor, const AVFormatContext& written, const std::vector<TrackTally>& tallies);

}  // namespace worker
