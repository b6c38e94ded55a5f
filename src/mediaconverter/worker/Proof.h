#pragma once

#include "mediaconverter/worker/Mp4Writer.h"
#include "mediaconverter/worker/SourceTimes.h"

#include <string>
#include <vector>

namespace worker {

/// One track of the MP4 and what it must hold.
struct ProvedTrack {
    const AVStream& written;
    const TrackTally& tally;
    const SourceTimes& source;
    bool isCopy;
};

/// Reads the finished file afresh and compares it with what was put in: the tracks, the packets of each, their
/// durations, and a packet at the start, in the middle and at the end. Throws Failure, and
/// TrackFailure where one track is amiss. Then compares what a player shows of it, edit lists applied, with what the
/// recording says; returns the first difference in words, empty where there is none.
std::string proveMp4(int descriptor, const std::vector<ProvedTrack>& tracks);

}  // namespace worker
