#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace worker {

/// Thrown when a track pauses for longer than one sample of an MP4 can last at the track's clock (2^31 ticks, 12 hours
/// of audio at 48 kHz). Clocks of milliseconds can count 24 days.
struct LongPause {};

/// The times that one track of an MP4 can hold: decoding times that increase, and frames that are not shown before they
/// are decoded.
class StorableTimes {
public:
    /// `track` must outlive this, and have its final time base before the first packet.
    explicit StorableTimes(const AVStream& track) : track_(&track) {}

    /// Corrects the packet's times, which are in the track's time base, so that they fit after those of the packet
    /// before. With `throwsAtPauses`, throws LongPause at a pause that the track's clock cannot count.
    void correct(AVPacket& packet, bool throwsAtPauses);

private:
    const AVStream* track_;
    std::int64_t last_ = AV_NOPTS_VALUE;  ///< decoding time
};

}  // namespace worker
