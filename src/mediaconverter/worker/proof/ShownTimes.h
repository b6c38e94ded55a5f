#pragma once

#include "mediaconverter/worker/proof/TrackDigest.h"
#include "mediaconverter/worker/reading/SourceReader.h"

#include <cstdint>
#include <vector>

namespace worker {

/// When the packets of one track are shown, in microseconds. Packets that a player decodes but does not show are not
/// counted.
struct ShownTimes {
    std::vector<std::int64_t> starts;  ///< in no order
    std::int64_t end = INT64_MIN;      ///< of the packet that ends last; INT64_MIN if no packet is shown
    NumberDigest
        delays;  ///< of an MP4's samples: how much later than it is decoded each is shown, in the track's clock

    void add(std::int64_t start, std::int64_t duration);
};

/// What a player shows of a finished MP4, with edit lists applied (ISO/IEC 14496-12, 8.6): one entry per track, in the
/// order of the file. Reads only the index. Texts without characters, which fill the time between others, are not
/// counted. Throws Failure if the index is malformed.
std::vector<ShownTimes> readShownTimes(const SourceReader& file);

}  // namespace worker
