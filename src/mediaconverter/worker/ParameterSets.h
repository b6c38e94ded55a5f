#pragma once

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// What the H.264 configuration record `extradata` says of the pictures, as units that can stand before a picture.
/// None where it is no such record, or one whose pictures have their lengths in another form than those of `stream`.
std::optional<std::vector<std::uint8_t>> inBandParameterSets(const AVCodecParameters& stream,
                                                             std::span<const std::uint8_t> extradata);

}  // namespace worker
