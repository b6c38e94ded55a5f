#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// What the header of a Matroska recording says about one track.
struct MatroskaTrack {
    std::uint64_t number = 0;
    bool isStream = false;             ///< the library makes a stream of it
    bool keepsPayload = true;          ///< no encoding (compression, encryption) of its payload
    std::int64_t defaultDuration = 0;  ///< of a packet, in nanoseconds; 0 if it is not stated
    std::int64_t delay = 0;            ///< that the codec adds, in ticks
};

/// The content of `Info` (RFC 9559, 5.1.2): nanoseconds per tick. Throws Irregularity.
std::int64_t readTimestampScale(std::span<const std::uint8_t> info, std::int64_t position);

/// The content of `Tracks` (5.1.4), in the order of the file. `scale` is that of readTimestampScale(). Throws
/// Irregularity.
std::vector<MatroskaTrack> readMatroskaTracks(std::span<const std::uint8_t> tracks, std::int64_t scale,
                                              std::int64_t position);

}  // namespace worker
