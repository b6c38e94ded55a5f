#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// The exact times of video with a constant frame rate in a container that counts milliseconds, which rounds each of
/// them.
struct FrameGrid {
    AVRational rate;         ///< frames per second
    AVRational firstOffset;  ///< from the first packet's time to that of a frame, in seconds; less than one frame

    /// The grid on which all of the stream's first presentation times lie, which are in its time base: that of the rate
    /// the container states, or of the exact rate that this rounds. None if a time is off by more than a tick, or if
    /// there are too few times to know.
    static std::optional<FrameGrid> of(const AVStream& stream, std::span<const std::int64_t> firstTimes);

    /// A time base that can count both frames and milliseconds.
    AVRational timeBase() const;
};

}  // namespace worker
