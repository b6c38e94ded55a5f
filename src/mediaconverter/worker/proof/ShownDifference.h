#pragma once

#include "mediaconverter/worker/proof/ShownTimes.h"
#include "mediaconverter/worker/times/SourceTimes.h"

#include <cstdint>
#include <string>

namespace worker {

/// How the packets of a track correspond to those of the recording.
enum class Likeness {
    sameNumber,  ///< one to one: first time, end, number and each time are compared
    fewer,       ///< some were joined: first time and end are compared
    otherFrames  ///< audio was decoded and cut into other frames: first time and end are compared with what the decoder
                 ///< gave, and within a tenth of a second more with the packets
};

/// Compares what a player shows of a finished track with the recording. Empty if they agree within one frame; else
/// both, in words. Re-encoded audio may start earlier by `priming`, in microseconds: an encoder puts that much before
/// the first sample, and a track that starts after the others shows it.
std::string findShownDifference(const SourceTimes& source, ShownTimes found, Likeness likeness,
                                std::int64_t priming = 0);

}  // namespace worker
