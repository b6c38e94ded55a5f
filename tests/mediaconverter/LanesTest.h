#pragma once

#include "mediaconverter/FaultTest.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediatest {

/// How a recording was converted by the worker's own code, in this process.
struct Conversion {
    std::string mp4;                 ///< the whole file
    bool isShared = false;           ///< its data is the recording itself
    std::vector<std::string> notes;  ///< for the log
};

/// Converts a recording; with `copiesPackets`, never shares its payload. Throws worker::Failure.
Conversion convertHere(const std::string& source, bool copiesPackets);

/// Everything that ffprobe finds in an MP4 but the places of its packets: tracks, tags, chapters, and the packets of
/// each track with their times, flags and a hash of their payload.
std::string descriptionOf(const std::string& mp4);

/// Converts the recording in both ways and expects the same tracks, packets, times and tags.
void expectSameInBothLanes(const std::string& source);

}  // namespace mediatest
