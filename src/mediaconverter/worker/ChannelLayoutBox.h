#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// Adds a channel layout box (`chan`) to the sample descriptions of FLAC in the movie box (`moov`), where FLAC itself
/// can't say which speaker each channel is for. `masks` has a number per track box, in their order, with a bit per
/// speaker as in WAVE files; 0 adds nothing. Throws Failure where the movie box is not well formed.
void addChannelLayouts(std::vector<std::uint8_t>& movie, std::span<const std::uint32_t> masks);

}  // namespace worker
