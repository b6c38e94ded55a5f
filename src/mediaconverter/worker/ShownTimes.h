#pragma once

#include "mediaconverter/worker/SourceReader.h"

#include <cstdint>
#include <vector>

namespace worker {

/// When the packets of one track are shown, in microseconds. Packets that a player decodes without showing them do not
/// count.
struct ShownTimes {
    std::vector<std::int64_t> starts;  ///< in no order
    std::int64_t end = INT64_MIN;      ///< of the packet that ends last; INT64_MIN where no packet is shown

    void add(std::int64_t start, std::int64_t duration);
};

/// What a player shows of a finished MP4, edit lists applied (ISO/IEC 14496-12, 8.6): one entry per track, in the order
/// of the file. Only the index is read. Texts without characters, which fill the time between others, do not count.
/// Throws Failure where the index is not well formed.
std::vector<ShownTimes> readShownTimes(const SourceReader& file);

}  // namespace worker
