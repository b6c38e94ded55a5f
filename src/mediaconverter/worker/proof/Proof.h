#pragma once

#include "mediaconverter/worker/proof/WrittenRange.h"
#include "mediaconverter/worker/times/SourceTimes.h"
#include "mediaconverter/worker/writing/Mp4Writer.h"

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

/// Reads the whole finished file again and compares it with what was written: every byte of the index and of what else
/// the muxer has added (`writtenByMuxer`), the tracks, the size, times and payload of each packet, where the library's
/// demuxer finds them, the durations, and a packet at the start, in the middle and at the end as that demuxer delivers
/// it. Throws Failure, and TrackFailure if one track is wrong. Then compares what a player shows, with edit lists
/// applied, with the times of the recording; returns the first difference in words, or an empty text.
std::string proveMp4(int descriptor, const std::vector<ProvedTrack>& tracks,
                     std::span<const WrittenRange> writtenByMuxer);

}  // namespace worker
