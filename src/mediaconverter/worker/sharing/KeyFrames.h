#pragma once

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <span>

namespace worker {

/// Finds the frames of H.264 and HEVC at which playback can start, as the media library's parser does: from the units
/// of the frame, whatever the container says.
class KeyFrames {
public:
    /// Whether the stream is one of these, stored in units that begin with their length (ISO/IEC 14496-15).
    static bool arePossible(const AVCodecParameters& stream);

    /// For a frame of such a stream.
    static bool isKey(const AVCodecParameters& stream, std::span<const std::uint8_t> frame);
};

}  // namespace worker
