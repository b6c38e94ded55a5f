#pragma once

#include "mediaconverter/worker/ShownTimes.h"
#include "mediaconverter/worker/SourceTimes.h"

#include <string>

namespace worker {

/// How far the packets of a track stand for those of the recording.
enum class Likeness {
    sameNumber,  ///< one for one: first time, end, number and each time are compared
    fewer,       ///< some were joined: first time and end are compared
    otherFrames  ///< audio was cut into other frames: as above, with a tenth of a second more, which re-encoding does
                 ///< not fill
};

/// Compares what a player shows of a finished track with what the recording says. Empty where they agree within one
/// frame; else both, in words.
std::string findShownDifference(const SourceTimes& source, ShownTimes found, Likeness likeness);

}  // namespace worker
