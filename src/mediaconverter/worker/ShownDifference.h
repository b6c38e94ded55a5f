#pragma once

#include "mediaconverter/worker/ShownTimes.h"
#include "mediaconverter/worker/SourceTimes.h"

#include <cstdint>
#include <string>

namespace worker {

/// How far the packets of a track stand for those of the recording.
enum class Likeness {
    sameNumber,  ///< one for one: first time, end, number and each time are compared
    fewer,       ///< some were joined: first time and end are compared
    otherFrames  ///< audio was decoded and cut into other frames: first time and end are compared with what the decoder
                 ///< gave, and within a tenth of a second more with the packets
};

/// Compares what a player shows of a finished track with what the recording says. Empty where they agree within one
/// frame; else both, in words. By `priming`, in microseconds, re-encoded audio may begin earlier: that much an encoder
/// puts before the first sample, and a track that begins after the others shows it.
std::string findShownDifference(const SourceTimes& source, ShownTimes found, Likeness likeness,
                                std::int64_t priming = 0);

}  // namespace worker
