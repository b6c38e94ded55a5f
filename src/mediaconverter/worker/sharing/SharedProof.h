#pragma once

#include "mediaconverter/worker/sharing/PacketList.h"

#include <cstdint>
#include <span>

namespace worker {

/// Proves the index of an MP4 whose data is the recording itself, which starts at `payloadStart`. The library's demuxer
/// opens the MP4: each entry of its index must have the place, size, time and key flag that `list` has. The library's
/// demuxer also reads some clusters of the recording, with at least 64 packets of each track (or all), the first and
/// the last among them: their times, key flags and bytes must be those of `list` and of the MP4. Throws NotShareable if
/// anything differs; also Failure. `trackOfStream` has the list's track for each of the recording's streams, negative
/// for those that are left out.
void proveSharedMp4(int source, int output, const PacketList& list, std::span<const int> trackOfStream,
                    std::int64_t payloadStart);

}  // namespace worker
