#pragma once

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// The parameter sets in the H.264 configuration record `extradata`, as units that can precede a frame. None if it is
/// not such a record, or if its frames have lengths of another size than those of `stream`.
std::optional<std::vector<std::uint8_t>> inBandParameterSets(const AVCodecParameters& stream,
                                                             std::span<const std::uint8_t> extradata);

}  // namespace worker
